#pragma once

#include <QString>

#include <array>
#include <optional>

namespace tarnel {

enum class InstallerType { app, pkg, dmg, manual };

inline constexpr std::array allInstallerTypes{InstallerType::app, InstallerType::pkg,
                                              InstallerType::dmg, InstallerType::manual};

QString rawValue(InstallerType type);
std::optional<InstallerType> installerTypeFromRawValue(const QString& raw);

}  // namespace tarnel
