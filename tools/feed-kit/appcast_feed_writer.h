#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace tarnel {

// One release as a publisher lists it in its feed.
struct PublishedRelease {
    QString title;
    QString version;
    QString shortVersion;
    // Absolute, or relative to the feed's own address.
    QString enclosureUrl;
    std::int64_t length = 0;
    QString edSignature;
    std::optional<QDateTime> publishedDate;
    QString description;
    QString minimumSystemVersion;
};

// An update feed listing the releases in the order given.
QByteArray writeAppcastFeed(const QString& title, const QList<PublishedRelease>& releases);

}  // namespace tarnel
