#pragma once

#include "core/system_layout.h"

#include <QString>

#include <stdexcept>

namespace tarnel {

// A layout written to a JSON file, so that a sandbox can describe its
// simulated machine to the command-line program and to tests. Relative paths
// in the file are taken from the file's folder.
class SystemLayoutFileError : public std::runtime_error {
public:
    explicit SystemLayoutFileError(const QString& message)
        : std::runtime_error(message.toStdString()) {}
};

SystemLayout readSystemLayoutFile(const QString& path);
void writeSystemLayoutFile(const SystemLayout& layout, const QString& path);

}  // namespace tarnel
