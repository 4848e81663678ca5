#pragma once

#include "core/records/installer_type.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace tarnel {

// One Homebrew cask as the catalogue describes it. Casks are told apart by
// `name` (the token); `id` is new for every parse.
struct Cask {
    struct Installer {
        InstallerType type = InstallerType::app;
        QString path;

        bool operator==(const Installer&) const = default;
    };

    QString id;
    QString name;
    std::optional<QString> homepage;
    std::optional<QString> description;
    QString version;
    QString rawVersion;
    QStringList bundleIdentifiers;
    QList<Installer> installers;
    QStringList caveats;
    QStringList warnings;
    double confidence = 0.0;
    bool manualInstaller = false;
    QStringList officialNames;
    QStringList uninstallPaths;

    bool operator==(const Cask&) const = default;
};

size_t qHash(const Cask::Installer& installer, size_t seed = 0);
size_t qHash(const Cask& cask, size_t seed = 0);

}  // namespace tarnel
