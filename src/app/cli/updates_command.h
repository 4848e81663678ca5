#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `updates [--json] [--verbose]`: runs the program's first discovery with its
// search for updates and prints the pending updates of the three sources
// (see updateTable), or the three lists as JSON (see updateListsJson).
// `arguments` start with the command's own name. Gives the process's exit
// status.
QCoro::Task<int> runUpdatesCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
