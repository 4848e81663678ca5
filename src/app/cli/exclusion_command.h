#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `exclude APP [--verbose]` and `include APP [--verbose]`, told apart by the
// first argument: reads the applications folder, then marks the one that APP
// names as left alone by the user, or takes that mark away. The mark is kept
// by bundle identifier in the settings, so every copy of the application
// shares it. Prints "Excluded {name}" or "Included {name}". Gives the
// process's exit status.
QCoro::Task<int> runExclusionCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
