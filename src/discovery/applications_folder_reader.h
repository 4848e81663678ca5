#pragma once

#include "core/records/application.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

class Logger;

// Scans `root` for bundles and reads them all, both on the worker pool, the
// reads in parallel. The applications come in the order of the scan, the
// skipped bundles left out. Throws DirectoryListingError when `root` cannot
// be listed. `logger` must outlive the task.
QCoro::Task<QList<Application>> readApplicationsFolder(QString root, QStringList preferredLanguages,
                                                       Logger& logger);

}  // namespace tarnel
