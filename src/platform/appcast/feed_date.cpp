#include "platform/appcast/feed_date.h"

#include <QRegularExpression>
#include <QTimeZone>

#include <array>

namespace tarnel {

namespace {

std::optional<int> monthNumber(QStringView name) {
    static constexpr std::array<const char16_t*, 12> months = {u"jan", u"feb", u"mar", u"apr",
                                                               u"may", u"jun", u"jul", u"aug",
                                                               u"sep", u"oct", u"nov", u"dec"};
    for (std::size_t index = 0; index < months.size(); ++index) {
        if (name.compare(QStringView(months[index]), Qt::CaseInsensitive) == 0) {
            return static_cast<int>(index) + 1;
        }
    }
    return std::nullopt;
}

// Seconds east of UTC, for a numeric offset or a name of UTC.
std::optional<int> zoneOffset(QStringView zone) {
    if (!zone.startsWith(u'+') && !zone.startsWith(u'-')) {
        return 0;
    }
    const int hours = zone.mid(1, 2).toInt();
    const int minutes = zone.mid(3, 2).toInt();
    if (hours > 23 || minutes > 59) {
        return std::nullopt;
    }
    const int offset = (hours * 60 + minutes) * 60;
    return zone.startsWith(u'-') ? -offset : offset;
}

}  // namespace

std::optional<QDateTime> parseFeedDate(const QString& text) {
    static const QRegularExpression pattern(
        QStringLiteral(R"(^(?:[A-Za-z]+,?\s+)?(\d{1,2})\s+([A-Za-z]{3})\s+(\d{4})\s+)"
                       R"((\d{1,2}):(\d{2})(?::(\d{2}))?\s*([+-]\d{4}|GMT|UTC|UT|Z)$)"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(text.trimmed());
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    const std::optional<int> month = monthNumber(match.capturedView(2));
    const std::optional<int> offset = zoneOffset(match.capturedView(7));
    const QDate date(match.capturedView(3).toInt(), month.value_or(0),
                     match.capturedView(1).toInt());
    const QTime time(match.capturedView(4).toInt(), match.capturedView(5).toInt(),
                     match.capturedView(6).toInt());
    if (!month || !offset || !date.isValid() || !time.isValid()) {
        return std::nullopt;
    }
    return QDateTime(date, time, QTimeZone(*offset)).toUTC();
}

}  // namespace tarnel
