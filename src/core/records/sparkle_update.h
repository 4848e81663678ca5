#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>

namespace tarnel {

// One pending update from an application's own feed.
struct SparkleUpdate {
    QString id;
    QString applicationId;
    QString bundleIdentifier;
    QString feedURL;
    QString currentVersion;
    QString availableVersion;
    std::optional<QString> releaseNotes;
    QString downloadURL;
    bool requiresRestart = false;
    std::optional<QDateTime> publishedDate;
    std::optional<std::int64_t> fileSize;

    bool operator==(const SparkleUpdate&) const = default;
};

size_t qHash(const SparkleUpdate& update, size_t seed = 0);

}  // namespace tarnel
