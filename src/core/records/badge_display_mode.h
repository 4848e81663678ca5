#pragma once

#include <QString>

#include <array>

namespace tarnel {

// What the dock badge and the header shortcut count.
enum class BadgeDisplayMode { adoptionsAvailable, updates };

inline constexpr std::array allBadgeDisplayModes{BadgeDisplayMode::adoptionsAvailable,
                                                 BadgeDisplayMode::updates};

QString rawValue(BadgeDisplayMode mode);

// Every reader tests for `updates` alone, so any other text is the default.
BadgeDisplayMode badgeDisplayModeFromStoredValue(const QString& stored);

}  // namespace tarnel
