#include "core/records/badge_display_mode.h"

namespace tarnel {

QString rawValue(BadgeDisplayMode mode) {
    switch (mode) {
        case BadgeDisplayMode::adoptionsAvailable:
            return QStringLiteral("Casks (Default)");
        case BadgeDisplayMode::updates:
            return QStringLiteral("Updates");
    }
    return {};
}

BadgeDisplayMode badgeDisplayModeFromStoredValue(const QString& stored) {
    return stored == rawValue(BadgeDisplayMode::updates) ? BadgeDisplayMode::updates
                                                         : BadgeDisplayMode::adoptionsAvailable;
}

}  // namespace tarnel
