#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `scan-bundles [--applications DIR] [--json] [--verbose]`: reads every
// bundle in the applications folder and prints its facts as a table or as a
// JSON array. `arguments` start with the command's own name. Gives the
// process's exit status.
QCoro::Task<int> runScanBundlesCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
