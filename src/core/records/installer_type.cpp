#include "core/records/installer_type.h"

namespace tarnel {

QString rawValue(InstallerType type) {
    switch (type) {
        case InstallerType::app:
            return QStringLiteral("app");
        case InstallerType::pkg:
            return QStringLiteral("pkg");
        case InstallerType::dmg:
            return QStringLiteral("dmg");
        case InstallerType::manual:
            return QStringLiteral("manual");
    }
    return {};
}

std::optional<InstallerType> installerTypeFromRawValue(const QString& raw) {
    for (const InstallerType type : allInstallerTypes) {
        if (rawValue(type) == raw) {
            return type;
        }
    }
    return std::nullopt;
}

}  // namespace tarnel
