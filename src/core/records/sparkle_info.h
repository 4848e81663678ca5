#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

namespace tarnel {

// The update feed configuration that a bundle declares.
struct SparkleInfo {
    QString feedURL;
    std::optional<QString> publicKey;
    bool automaticallyUpdate = false;
    std::optional<QDateTime> lastCheckDate;
    std::optional<QString> skipVersion;

    bool operator==(const SparkleInfo&) const = default;
};

size_t qHash(const SparkleInfo& info, size_t seed = 0);

}  // namespace tarnel
