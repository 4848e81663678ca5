#pragma once

#include "core/system_layout.h"

#include <QString>

namespace tarnel {

// The folders that a cask's paths stand for on this machine: the one that
// app artifacts and "$APPDIR" name, and the home folder that "~" names.
struct CaskLocations {
    QString applicationsDirectory;
    QString homeDirectory;

    static CaskLocations of(const SystemLayout& layout) {
        return {layout.applicationsDirectory, layout.homeDirectory};
    }
};

}  // namespace tarnel
