#include "sandbox_feeds.h"

#include "appcast_feed_writer.h"
#include "bundle_archive_writer.h"
#include "bundle_version.h"
#include "feed_signing_key.h"
#include "loopback_https_server.h"
#include "sandbox_builder.h"
#include "versions/version_rules.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <array>

namespace tarnel {

namespace {

enum class Publishing { signedByPublisher, signedByAnotherKey, olderThanInstalled, plainHttp };

// The applications that publish a feed in the sandbox, and what their newest
// release is.
struct PublishedApplication {
    const char* bundle;
    const char* feedName;
    const char* shortVersion;
    const char* buildVersion;
    BundleArchiveFormat format;
    Publishing publishing;
};

constexpr std::array publishedApplications{
    PublishedApplication{"Itsycal.app", "itsycal", "0.15.6", "1560", BundleArchiveFormat::zip,
                         Publishing::signedByPublisher},
    PublishedApplication{"Hammerspoon.app", "hammerspoon", "1.0.1", "5930",
                         BundleArchiveFormat::tarGzip, Publishing::signedByPublisher},
    PublishedApplication{"Loop.app", "loop", "1.1.0", "1280", BundleArchiveFormat::zip,
                         Publishing::olderThanInstalled},
    PublishedApplication{"IINA.app", "iina", "1.0.1", "96", BundleArchiveFormat::zip,
                         Publishing::plainHttp},
    PublishedApplication{"Ice.app", "ice", "0.11.13", "1113", BundleArchiveFormat::zip,
                         Publishing::signedByAnotherKey},
};

const QString publisherKeyFile = QStringLiteral("feeds/keys/publisher.key");
const QString otherKeyFile = QStringLiteral("feeds/keys/other.key");

FeedSigningKey loadKey(const QString& path) {
    auto key = FeedSigningKey::load(path);
    if (!key) {
        throw SandboxError(QStringLiteral("Cannot read the signing key %1").arg(path));
    }
    return *key;
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size()) {
        throw SandboxError(QStringLiteral("Cannot write %1").arg(path));
    }
}

void copyBundle(const QString& source, const QString& destination) {
    QDir(destination).removeRecursively();
    QDir().mkpath(QFileInfo(destination).path());
    // `cp -a` keeps links and modes exactly as the bundle has them.
    if (QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), source, destination}) != 0) {
        throw SandboxError(QStringLiteral("Cannot copy %1").arg(source));
    }
}

// Gives the release what real bundles carry and archives must keep: an
// executable and a symbolic link.
void addExecutableAndLink(const QString& bundle) {
    const QString executable =
        bundle + QStringLiteral("/Contents/MacOS/") + QFileInfo(bundle).completeBaseName();
    writeBytes(executable, QByteArrayLiteral("#!/bin/sh\nexit 0\n"));
    QFile::setPermissions(executable, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner | QFileDevice::ReadGroup |
                                          QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                          QFileDevice::ExeOther);
    const QString notes = bundle + QStringLiteral("/Contents/Resources/notes.txt");
    writeBytes(notes, QByteArrayLiteral("What is new.\n"));
    QFile::remove(bundle + QStringLiteral("/Contents/Resources/latest-notes.txt"));
    QFile::link(QStringLiteral("notes.txt"),
                bundle + QStringLiteral("/Contents/Resources/latest-notes.txt"));
}

QString archiveSuffix(BundleArchiveFormat format) {
    return format == BundleArchiveFormat::zip ? QStringLiteral(".zip") : QStringLiteral(".tar.gz");
}

ServedRoute servedFile(const QString& path, QByteArray contentType) {
    ServedRoute route = ServedRoute::file(path);
    route.contentType = std::move(contentType);
    route.isCompressible = false;
    return route;
}

}  // namespace

SandboxFeeds::SandboxFeeds(QString root) : root(std::move(root)) {}

QString SandboxFeeds::path(const QString& relative) const {
    return root + u'/' + relative;
}

void SandboxFeeds::prepare() const {
    QDir().mkpath(path(QStringLiteral("feeds/keys")));
    const FeedSigningKey publisher = FeedSigningKey::generate();
    if (!publisher.save(path(publisherKeyFile)) ||
        !FeedSigningKey::generate().save(path(otherKeyFile))) {
        throw SandboxError(QStringLiteral("Cannot save the signing keys in %1")
                               .arg(path(QStringLiteral("feeds/keys"))));
    }
    for (const PublishedApplication& application : publishedApplications) {
        const QString bundle =
            path(QStringLiteral("Applications/") + QString::fromUtf8(application.bundle));
        if (!writeInfoPlistTexts(
                bundle, {{QStringLiteral("SUPublicEDKey"), publisher.publicKeyBase64()}})) {
            throw SandboxError(QStringLiteral("Cannot rewrite the Info.plist of %1").arg(bundle));
        }
    }
}

void SandboxFeeds::publish(LoopbackHttpsServer& server) const {
    const QString base = server.baseUrl().toString();
    const QString insecureBase = QStringLiteral("http://127.0.0.1:%1").arg(server.port());
    const FeedSigningKey publisher = loadKey(path(publisherKeyFile));
    const FeedSigningKey other = loadKey(path(otherKeyFile));
    pointUnpublishedFeedsAt(base);
    for (const PublishedApplication& application : publishedApplications) {
        const QString feedName = QString::fromUtf8(application.feedName);
        const QString bundle =
            path(QStringLiteral("Applications/") + QString::fromUtf8(application.bundle));
        const QString feedPath = QStringLiteral("/feeds/%1.xml").arg(feedName);
        const bool isInsecure = application.publishing == Publishing::plainHttp;
        writeInfoPlistTexts(
            bundle, {{QStringLiteral("SUFeedURL"), (isInsecure ? insecureBase : base) + feedPath}});

        const QString release =
            path(QStringLiteral("feeds/staging/")) + QString::fromUtf8(application.bundle);
        copyBundle(bundle, release);
        writeBundleVersion(release, {QString::fromUtf8(application.shortVersion),
                                     QString::fromUtf8(application.buildVersion)});
        addExecutableAndLink(release);
        const QString archiveName = feedName + u'-' + QString::fromUtf8(application.shortVersion) +
                                    archiveSuffix(application.format);
        const QString archive = path(QStringLiteral("www/feeds/")) + archiveName;
        QDir().mkpath(QFileInfo(archive).path());
        writeBundleArchive(release, archive, application.format);
        const FeedSigningKey& signer =
            application.publishing == Publishing::signedByAnotherKey ? other : publisher;

        PublishedRelease published;
        published.title = QFileInfo(bundle).completeBaseName() + u' ' +
                          QString::fromUtf8(application.shortVersion);
        published.version = QString::fromUtf8(application.buildVersion);
        published.shortVersion = QString::fromUtf8(application.shortVersion);
        published.enclosureUrl = archiveName;
        published.length = QFileInfo(archive).size();
        published.edSignature = signer.signFile(archive).value_or(QString());
        published.publishedDate = QDateTime::currentDateTimeUtc();
        published.description = QStringLiteral("<p>Fixes and improvements.</p>");
        const QString feed = path(QStringLiteral("www")) + feedPath;
        writeBytes(feed, writeAppcastFeed(published.title, {published}));

        server.setRoute(feedPath, servedFile(feed, "application/rss+xml"));
        server.setRoute(QStringLiteral("/feeds/") + archiveName,
                        servedFile(archive, "application/octet-stream"));
    }
}

QString SandboxFeeds::offeredVersion(const QString& bundle) const {
    for (const PublishedApplication& application : publishedApplications) {
        if (QString::fromUtf8(application.bundle) == bundle) {
            return compositeVersion(QString::fromUtf8(application.shortVersion),
                                    QString::fromUtf8(application.buildVersion));
        }
    }
    throw SandboxError(QStringLiteral("%1 publishes no feed in the sandbox").arg(bundle));
}

void SandboxFeeds::pointUnpublishedFeedsAt(const QString& base) const {
    QStringList published;
    for (const PublishedApplication& application : publishedApplications) {
        published << QString::fromUtf8(application.bundle);
    }
    for (const QString& folder :
         {path(QStringLiteral("Applications")), path(QStringLiteral("Elsewhere"))}) {
        QDirIterator bundles(folder, {QStringLiteral("*.app")}, QDir::Dirs | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (bundles.hasNext()) {
            const QString bundle = bundles.next();
            if (bundles.fileInfo().isSymLink() || published.contains(bundles.fileName()) ||
                !readInfoPlistText(bundle, QStringLiteral("SUFeedURL"))) {
                continue;
            }
            writeInfoPlistTexts(
                bundle, {{QStringLiteral("SUFeedURL"),
                          base + QStringLiteral("/feeds/unpublished/") +
                              QFileInfo(bundle).completeBaseName() + QStringLiteral(".xml")}});
        }
    }
}

}  // namespace tarnel
