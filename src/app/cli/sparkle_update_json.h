#pragma once

#include "core/records/sparkle_update.h"

#include <QByteArray>

#include <optional>

namespace tarnel {

// The update with its record's field names, dates as ISO 8601 text and
// absent values as null; `null` when there is none.
QByteArray sparkleUpdateJson(const std::optional<SparkleUpdate>& update);

}  // namespace tarnel
