#pragma once

#include "core/system_layout.h"

#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

// `match [--applications DIR] [--catalogue FILE] [--installed TOKEN,...] [--json]`:
// reads every bundle in the folder, by default the layout's applications
// folder, and matches it against the cask catalogue, from FILE or else from
// the catalogue endpoint. Prints each application's ranked cask options and,
// when installed tokens are given, the installed cask that manages it, as a
// table or as a JSON array. `arguments` start with the command's own name.
// Gives the process's exit status.
QCoro::Task<int> runMatchCommand(QStringList arguments, SystemLayout layout);

}  // namespace tarnel
