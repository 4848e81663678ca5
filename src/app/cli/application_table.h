#pragma once

#include "core/records/application.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

namespace tarnel {

// The rows, a header row first, as a plain-text table with each column but
// the last padded to its widest cell. Cells hold what bundles and the
// catalogue declare, and are shown escaped (see printableText), so that none
// can act on the terminal or break the table's lines.
QString tableText(std::vector<QStringList> rows);

// The bundle facts of the applications as a plain-text table, one row each,
// with a header row and columns padded to their widest cell.
QString applicationTable(const QList<Application>& applications);
// The matches of the applications in the same layout: the name, the
// installed cask and the ranked options, each cask with its confidence.
QString matchTable(const QList<Application>& applications);

}  // namespace tarnel
