#include "feed_sandbox.h"

#include "appcast/install_workshop.h"
#include "appcast_feed_writer.h"
#include "bundle_version.h"
#include "discovery/application_reader.h"
#include "platform/appcast/appcast_xml_reader.h"
#include "platform/https_client.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace tarnel {

namespace {

constexpr std::array changes{
    QLatin1String("Fixed a crash when opening documents from a network volume."),
    QLatin1String("Improved the speed of searching large libraries."),
    QLatin1String("The toolbar can now be customised from the View menu."),
    QLatin1String("Fixed the window position not being restored after a restart."),
    QLatin1String("Added keyboard shortcuts for the most common actions."),
    QLatin1String("Reduced memory use while importing many files at once."),
    QLatin1String("Updated translations for German, French, Japanese and Brazilian Portuguese."),
    QLatin1String("Fixed an issue where the menu bar icon appeared blank in dark mode."),
    QLatin1String("Exports now keep the colour profile of the original image."),
    QLatin1String("Security: updated the bundled TLS library."),
    QLatin1String("Fixed a rare hang when the computer wakes from sleep."),
    QLatin1String("Preferences are now synchronised across devices when enabled."),
};

// Application number `index` publishes releases 2.1.0 (build 2001) up to
// 2.n.0 (build 200n), n being 10 to 30.
int releaseCountOf(int index) {
    return 10 + index % 21;
}

QString shortVersionOf(int minor) {
    return QStringLiteral("2.%1.0").arg(minor);
}

QString buildVersionOf(int minor) {
    return QString::number(2000 + minor);
}

// Release notes as publishers write them: a heading and a list of changes.
QString releaseNotes(QRandomGenerator& random, const QString& name, const QString& version) {
    QString notes = QStringLiteral("<h2>What's new in %1 %2</h2>\n<ul>\n").arg(name, version);
    const int count = 6 + static_cast<int>(random.bounded(10));
    for (int line = 0; line < count; ++line) {
        notes += QStringLiteral("<li>%1</li>\n")
                     .arg(changes.at(random.bounded(static_cast<int>(changes.size()))));
    }
    return notes + QStringLiteral("</ul>\n<p>Thank you for your feedback.</p>\n");
}

// One application's feed, newest first.
QByteArray feedOf(int index, const QString& name, const QString& slug, const QUrl& base,
                  const FeedSigningKey& publisher) {
    QRandomGenerator random(static_cast<quint32>(index + 1));
    const int releaseCount = releaseCountOf(index);
    QList<PublishedRelease> releases;
    const QDateTime newest = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    for (int age = 0; age < releaseCount; ++age) {
        const int minor = releaseCount - age;
        PublishedRelease release;
        release.shortVersion = shortVersionOf(minor);
        release.version = buildVersionOf(minor);
        release.title = QStringLiteral("Version ") + release.shortVersion;
        release.publishedDate = newest.addDays(-14 * age);
        release.minimumSystemVersion =
            age < releaseCount / 2 ? QStringLiteral("13.0") : QStringLiteral("11.0");
        // Half the publishers link their archives absolutely.
        const QString archive = QStringLiteral("%1-%2.zip").arg(slug, release.shortVersion);
        release.enclosureUrl =
            index % 2 == 0 ? archive : base.toString() + QStringLiteral("/downloads/") + archive;
        release.length = 20'000'000 + static_cast<std::int64_t>(random.bounded(30'000'000));
        release.edSignature = publisher.signBytes(archive.toUtf8());
        release.description = releaseNotes(random, name, release.shortVersion);
        releases.append(release);
    }
    return writeAppcastFeed(name, releases);
}

// Every folder of a run inside `root`.
SystemLayout sandboxLayout(const QTemporaryDir& root, const LoopbackCertificates& certificates) {
    SystemLayout layout;
    layout.applicationsDirectory = root.filePath(QStringLiteral("Applications"));
    layout.homeDirectory = root.filePath(QStringLiteral("home"));
    layout.temporaryDirectory = root.filePath(QStringLiteral("tmp"));
    layout.desktopDirectory = root.filePath(QStringLiteral("Desktop"));
    layout.dataDirectory = root.filePath(QStringLiteral("data"));
    layout.settingsFile = root.filePath(QStringLiteral("settings.json"));
    layout.extraTrustedCertificates = certificates.authorityCertificate;
    layout.systemVersion = QStringLiteral("15.0.0");
    layout.preferredLanguages = {QStringLiteral("en")};
    return layout;
}

}  // namespace

FeedSandbox::FeedSandbox()
    : certificates(LoopbackCertificates::create(root.filePath(QStringLiteral("tls")))),
      server(certificates),
      layout(sandboxLayout(root, certificates)),
      settings(layout.settingsFile),
      logger(warningsOnStandardError, settings, layout.desktopDirectory),
      publisher(FeedSigningKey::generate()) {
    if (!server.start()) {
        failSetup("the loopback server did not start");
    }
    for (const QString& folder : {layout.applicationsDirectory, layout.homeDirectory,
                                  layout.temporaryDirectory, layout.dataDirectory}) {
        QDir().mkpath(folder);
    }
}

std::optional<Application> FeedSandbox::publish(const QString& name) {
    const auto index = static_cast<int>(urls.size());
    const QString slug = slugOf(name, index);
    QUrl feedUrl = server.baseUrl();
    feedUrl.setPath(QStringLiteral("/feeds/%1.xml").arg(slug));
    const int newestMinor = releaseCountOf(index);
    const bool lagsBehind = index % 4 != 0;
    const int installedMinor = lagsBehind ? newestMinor - 3 : newestMinor;
    const QString bundle = layout.applicationsDirectory + u'/' + name + QStringLiteral(".app");
    writeBundle(bundle, {.identifier = QStringLiteral("com.vendor.") + slug,
                         .version = buildVersionOf(installedMinor),
                         .name = name,
                         .publicEdKey = publisher.publicKeyBase64()});
    if (!writeBundleVersion(bundle,
                            {shortVersionOf(installedMinor), buildVersionOf(installedMinor)}) ||
        !writeInfoPlistTexts(bundle, {{QStringLiteral("SUFeedURL"), feedUrl.toString()}})) {
        failSetup("cannot point a bundle at its feed");
    }
    auto application = createApplication(bundle, layout.preferredLanguages, logger);
    if (!application) {
        QDir(bundle).removeRecursively();
        return std::nullopt;
    }
    lagging += lagsBehind ? 1 : 0;

    const QByteArray feed = feedOf(index, name, slug, server.baseUrl(), publisher);
    ServedRoute route = ServedRoute::bytes(feed);
    route.contentType = "application/rss+xml";
    server.setRoute(feedUrl.path(), route);
    urls.append(feedUrl);
    publishedBytes += feed.size();
    return application;
}

QCoro::Task<qint64> getEveryFeed(HttpsClient& client, QList<QUrl> urls) {
    qint64 received = 0;
    for (const QUrl& url : urls) {
        HttpsRequest request;
        request.url = url;
        request.maximumSize = maximumAppcastSize;
        request.unlabelledGzip = UnlabelledGzip::decode;
        received += (co_await client.get(request)).body.size();
    }
    co_return received;
}

QString slugOf(const QString& name, int index) {
    QString slug;
    for (const QChar character : name.toLower()) {
        if (character.isLetterOrNumber() && character.unicode() < 0x80) {
            slug.append(character);
        }
    }
    return slug + u'-' + QString::number(index);
}

QStringList applicationNames() {
    QFile file(QStringLiteral(TARNEL_SHARED_DIR "/data/app-names.txt"));
    if (!file.open(QIODevice::ReadOnly)) {
        failSetup("cannot read the application names");
    }
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

void warningsOnStandardError(LogLevel level, const QString& line) {
    if (level != LogLevel::info) {
        std::fprintf(stderr, "%s\n", qPrintable(line.section(u'\n', 0, 0)));
    }
}

void failSetup(const char* reason) {
    std::fprintf(stderr, "%s\n", reason);
    std::exit(1);
}

}  // namespace tarnel
