#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

namespace tarnel {

// Reads an item's `pubDate`, as in "Fri, 09 Jan 2026 19:20:11 +0000", in UTC.
// Feeds in the wild carry localised names, other layouts or nothing, so it is
// lenient where that costs nothing (one-digit days, no weekday or seconds,
// "GMT", "UTC" or "Z" for the zone, the weekday never checked) and gives no
// date for anything else; a date never fails an item.
std::optional<QDateTime> parseFeedDate(const QString& text);

}  // namespace tarnel
