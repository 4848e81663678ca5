#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `sparkle-update APP [--verbose]`: downloads, verifies and installs the
// update of the application's own feed in place, with a progress line on a
// terminal. Gives the process's exit status.
QCoro::Task<int> runSparkleUpdateCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
