#pragma once

#include "updates/sparkle_appcast_item.h"

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>

namespace tarnel {

// An error that the update framework reports through its driver or when an
// updater cannot start. The "no update found" report carries the latest item
// of the feed, so that the caller can compare it by its own rule.
class SparkleFrameworkError : public std::exception {
public:
    static constexpr const char* errorDomain = "SUSparkleErrorDomain";
    static constexpr int noUpdateErrorCode = 1001;

    SparkleFrameworkError(QString domain, int code, QString description,
                          std::optional<SparkleAppcastItem> latestAppcastItem = std::nullopt,
                          bool hasUnderlyingError = false);

    const QString& domain() const { return errorDomainName; }
    int code() const { return errorCode; }
    // The user information under the latest-item key, when there is one.
    const std::optional<SparkleAppcastItem>& latestAppcastItem() const { return latestItem; }
    // Whether the user information holds an underlying error.
    bool hasUnderlyingError() const { return underlying; }

    QString description() const { return text; }
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    QString errorDomainName;
    int errorCode;
    QString text;
    std::optional<SparkleAppcastItem> latestItem;
    bool underlying;
    QByteArray utf8Description;
};

}  // namespace tarnel
