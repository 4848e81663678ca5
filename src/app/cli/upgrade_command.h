#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `upgrade APP [--verbose]`: runs the program's first discovery, then
// installs one pending update of the application: its Sparkle update if it
// has one, else its Homebrew update, else its Mac App Store update. Homebrew
// may ask for the administrator's password only when the stored
// "Admin Password" permission allows it. Shows each step's progress on a
// terminal and prints "Updated {name} from {current} to {available} via
// {source}", or that nothing is pending. Gives the process's exit status.
QCoro::Task<int> runUpgradeCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
