#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `adopt APP [--cask TOKEN] [--force] [--verbose]`: discovers the
// applications, then brings the one that APP names under Homebrew without
// reinstalling it, with its best cask option or with the cask TOKEN once
// that has been validated. A cask with a package installer needs the stored
// "Admin Password" permission, and without it nothing runs. A version
// mismatch shows both versions and what adopting would do, and ends there
// unless `--force` lets the cask's version replace the bundle. Prints
// "Successfully adopted {name}" or, forced, "Successfully force-adopted
// {cask}". Gives the process's exit status.
QCoro::Task<int> runAdoptCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
