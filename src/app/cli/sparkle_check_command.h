#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `sparkle-check APP [--json] [--verbose]`: asks the application's own
// update feed whether a newer version exists, without touching it, and
// prints the update or that there is none. Gives the process's exit status.
QCoro::Task<int> runSparkleCheckCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
