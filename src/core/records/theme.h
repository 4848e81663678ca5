#pragma once

#include <QString>

#include <array>
#include <optional>

namespace tarnel {

// The appearance choice; the raw value is both the stored setting and the label.
enum class Theme { system, light, dark };

inline constexpr std::array allThemes{Theme::system, Theme::light, Theme::dark};

QString rawValue(Theme theme);
std::optional<Theme> themeFromRawValue(const QString& raw);

}  // namespace tarnel
