#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `scan [--json] [--verbose]`: runs the whole discovery on the layout's
// machine and prints each application with its status, or the finished
// records as JSON. `arguments` start with the command's own name. Gives the
// process's exit status.
QCoro::Task<int> runScanCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
