#include "core/records/brew_update.h"

#include <QHashFunctions>

#include <array>

namespace tarnel {

QString rawValue(BrewUpdate::UpdateType type) {
    switch (type) {
        case BrewUpdate::UpdateType::caskUpdate:
            return QStringLiteral("Cask Update");
        case BrewUpdate::UpdateType::appUpdate:
            return QStringLiteral("App Update");
        case BrewUpdate::UpdateType::bothUpdate:
            return QStringLiteral("Both Update");
    }
    return {};
}

std::optional<BrewUpdate::UpdateType> updateTypeFromRawValue(const QString& raw) {
    constexpr std::array all{BrewUpdate::UpdateType::caskUpdate, BrewUpdate::UpdateType::appUpdate,
                             BrewUpdate::UpdateType::bothUpdate};
    for (const auto type : all) {
        if (rawValue(type) == raw) {
            return type;
        }
    }
    return std::nullopt;
}

size_t qHash(const BrewUpdate& update, size_t seed) {
    return qHashMulti(seed, update.id, update.applicationId, update.bundleIdentifier,
                      update.caskName, update.currentVersion, update.availableVersion,
                      rawValue(update.updateType));
}

}  // namespace tarnel
