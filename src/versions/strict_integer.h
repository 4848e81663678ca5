#pragma once

#include <QStringView>

#include <optional>

namespace tarnel {

// The one integer reading of version texts: an optional leading "+" or "-",
// then one or more ASCII digits and nothing else. Anything else, digits of
// other scripts included, or a value outside a signed 64-bit integer gives
// no number.
std::optional<qint64> parseStrictInteger(QStringView text);

}  // namespace tarnel
