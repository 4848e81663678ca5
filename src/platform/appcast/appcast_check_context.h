#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace tarnel {

// What a check knows of the host and the machine when it chooses an item.
struct AppcastCheckContext {
    enum class CheckKind { userInitiated, background };
    enum class Architecture { arm64, x86_64 };

    // The host's `CFBundleVersion`.
    QString hostVersion;
    // The running system as "major.minor.patch".
    QString systemVersion;
    Architecture architecture = Architecture::arm64;
    // Channels beyond the default one, which is always allowed.
    QStringList allowedChannels;
    CheckKind checkKind = CheckKind::userInitiated;
    // The host's random rollout number and the time of the check; phased
    // rollout reads them in background checks only.
    quint32 updateGroupIdentifier = 0;
    QDateTime now;
};

}  // namespace tarnel
