#pragma once

#include "core/records/application.h"

#include <QList>
#include <QString>

namespace tarnel {

// The bundle facts of the applications as a plain-text table, one row each,
// with a header row and columns padded to their widest cell.
QString applicationTable(const QList<Application>& applications);
// The matches of the applications in the same layout: the name, the
// installed cask and the ranked options, each cask with its confidence.
QString matchTable(const QList<Application>& applications);

}  // namespace tarnel
