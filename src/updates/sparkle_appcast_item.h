#pragma once

#include <QDateTime>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <optional>

namespace tarnel {

// What the update logic reads of one feed item that the framework offers.
struct SparkleAppcastItem {
    QString displayVersionString;
    QString versionString;
    std::optional<QString> itemDescription;
    std::optional<QUrl> fileURL;
    std::optional<QDateTime> date;
    std::uint64_t contentLength = 0;

    bool operator==(const SparkleAppcastItem&) const = default;
};

}  // namespace tarnel
