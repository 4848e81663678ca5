#include "core/records/theme.h"

namespace tarnel {

QString rawValue(Theme theme) {
    switch (theme) {
        case Theme::system:
            return QStringLiteral("Auto");
        case Theme::light:
            return QStringLiteral("Light");
        case Theme::dark:
            return QStringLiteral("Dark");
    }
    return {};
}

std::optional<Theme> themeFromRawValue(const QString& raw) {
    for (const Theme theme : allThemes) {
        if (rawValue(theme) == raw) {
            return theme;
        }
    }
    return std::nullopt;
}

}  // namespace tarnel
