#pragma once

#include "core/records/application.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class FeedSigningKey;
class HttpsClient;
class LoopbackHttpsServer;
class Logger;

// Applications that update from their own signed feeds, published on a
// loopback server the way publishers write them: 10 to 30 releases each,
// newest first, with release notes. Three applications in four lag three
// releases behind their feed.
class FeedPublisher {
public:
    FeedPublisher(LoopbackHttpsServer& server, const FeedSigningKey& publisher,
                  QString applicationsDirectory, QStringList preferredLanguages, Logger& logger);

    // Writes the bundle of `name`, points it at a new feed and publishes the
    // feed. Nothing when discovery would pass the bundle over (a name it
    // takes for a helper tool); the bundle is then removed again.
    std::optional<Application> publish(const QString& name);

    const QList<QUrl>& feedUrls() const { return urls; }
    qint64 feedBytes() const { return publishedBytes; }
    // How many of the applications lag behind their feed.
    qsizetype laggingApplications() const { return lagging; }

private:
    LoopbackHttpsServer& server;
    const FeedSigningKey& publisher;
    QString applicationsDirectory;
    QStringList preferredLanguages;
    Logger& logger;
    QList<QUrl> urls;
    qint64 publishedBytes = 0;
    qsizetype lagging = 0;
};

// Plain GETs of the feeds, one at a time, as the feed engine asks for them;
// gives the bytes received.
QCoro::Task<qint64> getEveryFeed(HttpsClient& client, QList<QUrl> urls);

// A name made of the lower-case ASCII letters and digits of `name`, with
// `index` after a dash, to tell applications apart in paths and tokens.
QString slugOf(const QString& name, int index);

// The application names of the shared data, one a line.
QStringList applicationNames();

// Ends the benchmark before it measures something that was not set up.
[[noreturn]] void failSetup(const char* reason);

}  // namespace tarnel
