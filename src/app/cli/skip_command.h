#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `skip APP [--verbose]`: runs the program's first discovery, then skips the
// version of the application's pending Sparkle update, else of its pending
// Homebrew update, so that neither shows again. A Mac App Store update
// cannot be skipped, and the command says so. Prints "Skipped {name}
// {version} from {source}". Gives the process's exit status.
QCoro::Task<int> runSkipCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
