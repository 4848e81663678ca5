#pragma once

#include "updates/update_lists.h"

#include <QByteArray>

namespace tarnel {

// The three lists as one indented JSON object, {"brewUpdates": [...],
// "sparkleUpdates": [...], "masUpdates": [...]}, each update keyed by its
// record's field names, dates as ISO 8601 text in UTC, absent values as null
// and the Homebrew update type as its raw value ("Cask Update").
QByteArray updateListsJson(const UpdateLists& updates);

}  // namespace tarnel
