#pragma once

#include "core/log_level.h"
#include "core/logger.h"
#include "core/records/application.h"
#include "core/settings_store.h"
#include "core/system_layout.h"
#include "feed_signing_key.h"
#include "loopback_certificates.h"
#include "loopback_https_server.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class HttpsClient;

// A temporary machine of applications that update from their own signed
// feeds: the bundles, the feeds on a loopback HTTPS server as publishers write
// them (10 to 30 releases each, newest first, with release notes), and the
// layout, settings and logger of a run over them. Three applications in four
// lag three releases behind their feed.
class FeedSandbox {
public:
    FeedSandbox();

    // Writes the bundle of `name`, points it at a new feed and publishes the
    // feed. Nothing when discovery would pass the bundle over (a name it
    // takes for a helper tool); the bundle is then removed again.
    std::optional<Application> publish(const QString& name);

    const QList<QUrl>& feedUrls() const { return urls; }
    qint64 feedBytes() const { return publishedBytes; }
    // How many of the published applications lag behind their feed.
    qsizetype laggingApplications() const { return lagging; }

    QTemporaryDir root;
    LoopbackCertificates certificates;
    LoopbackHttpsServer server;
    // Every folder inside `root`.
    SystemLayout layout;
    SettingsStore settings;
    Logger logger;

private:
    FeedSigningKey publisher;
    QList<QUrl> urls;
    qint64 publishedBytes = 0;
    qsizetype lagging = 0;
};

// A failed check tells why; the routine lines would bury the table. Only the
// first line of each, since some carry a tool's whole output.
void warningsOnStandardError(LogLevel level, const QString& line);

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
