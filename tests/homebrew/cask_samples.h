#pragma once

#include "core/records/cask.h"

#include <QList>
#include <QStringList>

// Hand-made casks with only what matching reads, and the tokens of results.
inline tarnel::Cask sampleCask(const QString& token, const QStringList& appPaths = {},
                               const QStringList& uninstallPaths = {},
                               const QStringList& officialNames = {}) {
    tarnel::Cask cask;
    cask.id = token + QStringLiteral("-id");
    cask.name = token;
    cask.version = QStringLiteral("1");
    cask.rawVersion = cask.version;
    for (const QString& path : appPaths) {
        cask.installers.append({tarnel::InstallerType::app, path});
    }
    cask.uninstallPaths = uninstallPaths;
    cask.officialNames = officialNames;
    cask.confidence = 0.9;
    return cask;
}

inline QStringList tokensOf(const QList<tarnel::Cask>& casks) {
    QStringList tokens;
    for (const tarnel::Cask& cask : casks) {
        tokens.append(cask.name);
    }
    return tokens;
}

inline QStringList tokensOf(const QList<const tarnel::Cask*>& casks) {
    QStringList tokens;
    for (const tarnel::Cask* cask : casks) {
        tokens.append(cask->name);
    }
    return tokens;
}
