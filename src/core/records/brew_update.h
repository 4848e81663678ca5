#pragma once

#include <QString>

#include <optional>

namespace tarnel {

// One pending Homebrew update.
struct BrewUpdate {
    enum class UpdateType { caskUpdate, appUpdate, bothUpdate };

    QString id;
    QString applicationId;
    QString bundleIdentifier;
    QString caskName;
    QString currentVersion;
    QString availableVersion;
    UpdateType updateType = UpdateType::caskUpdate;

    bool operator==(const BrewUpdate&) const = default;
};

QString rawValue(BrewUpdate::UpdateType type);
std::optional<BrewUpdate::UpdateType> updateTypeFromRawValue(const QString& raw);

size_t qHash(const BrewUpdate& update, size_t seed = 0);

}  // namespace tarnel
