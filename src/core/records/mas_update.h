#pragma once

#include <QString>

namespace tarnel {

// One pending store update.
struct MASUpdate {
    QString id;
    QString appId;
    QString appName;
    QString currentVersion;
    QString availableVersion;

    bool operator==(const MASUpdate&) const = default;
};

size_t qHash(const MASUpdate& update, size_t seed = 0);

}  // namespace tarnel
