#pragma once

#include "core/records/cask.h"

#include <QString>

namespace tarnel {

// The words of the "Permission Required" alert, for a cask that only the
// administrator password lets Homebrew install.
QString permissionRequiredText(const Cask& cask);

}  // namespace tarnel
