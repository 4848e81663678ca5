#pragma once

#include "core/records/mas_app.h"
#include "core/records/mas_update.h"

#include <QList>
#include <QString>

namespace tarnel {

// Reads `mas list`: one application per non-empty line; a line without a
// version in parentheses at its end still counts, with an empty version.
QList<MASApp> parseMASList(const QString& output);

// Reads `mas outdated` in the order of its lines; a line that does not end in
// "(current -> available)" is dropped.
QList<MASUpdate> parseMASOutdated(const QString& output);

}  // namespace tarnel
