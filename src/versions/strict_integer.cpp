#include "versions/strict_integer.h"

#include <limits>

namespace tarnel {

std::optional<qint64> parseStrictInteger(QStringView text) {
    const bool isNegative = text.startsWith(u'-');
    if (isNegative || text.startsWith(u'+')) {
        text = text.mid(1);
    }
    if (text.isEmpty()) {
        return std::nullopt;
    }
    // Accumulating towards the negative end reaches the smallest value,
    // which has no positive counterpart.
    constexpr qint64 lowest = std::numeric_limits<qint64>::min();
    qint64 value = 0;
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (unit < u'0' || unit > u'9') {
            return std::nullopt;
        }
        const int digit = unit - u'0';
        if (value < (lowest + digit) / 10) {
            return std::nullopt;
        }
        value = value * 10 - digit;
    }
    if (isNegative) {
        return value;
    }
    if (value == lowest) {
        return std::nullopt;
    }
    return -value;
}

}  // namespace tarnel
