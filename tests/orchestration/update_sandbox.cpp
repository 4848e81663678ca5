#include "update_sandbox.h"

#include "appcast_feed_writer.h"
#include "bundle_archive_writer.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>
#include <QThreadPool>
#include <QUuid>

using namespace tarnel;

namespace {

QString lowerName(const QString& name) {
    return name.toLower().remove(u' ');
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size()) {
        ADD_FAILURE() << "cannot write " << path.toStdString();
    }
}

}  // namespace

UpdateSandbox::UpdateSandbox()
    : certificates(LoopbackCertificates::create(serverFolder.path())),
      server(certificates),
      mas(brew.path(QStringLiteral("mas-state"))),
      settings(brew.path(QStringLiteral("update-settings.json"))),
      logger(brew.capture.sink(), settings, brew.path(QStringLiteral("Desktop"))),
      publisher(FeedSigningKey::generate()) {
    if (!server.start()) {
        ADD_FAILURE() << "the loopback server did not start";
    }
    brew.layout.extraTrustedCertificates = certificates.authorityCertificate;
    brew.installBrew();
    const QString masPath = brew.path(QStringLiteral("opt/homebrew/bin/mas"));
    brew.layout.masCandidates = {masPath, brew.path(QStringLiteral("usr/local/bin/mas"))};
    mas.installTool(masPath);
}

UpdateSandbox::~UpdateSandbox() {
    // A feed check keeps its answer on the worker pool after it returns; the
    // folders must outlive that write.
    QThreadPool::globalInstance()->waitForDone();
}

QString UpdateSandbox::writeBundle(const QString& folder, const QString& name,
                                   const BundleVersion& version,
                                   const QMap<QString, QString>& texts) {
    const QString bundle = QDir(folder).filePath(name + QStringLiteral(".app"));
    const QString executable = bundle + QStringLiteral("/Contents/MacOS/") + name;
    writeBytes(executable, "#!/bin/sh\nexit 0\n");
    QFile::setPermissions(executable, QFile::permissions(executable) | QFileDevice::ExeOwner);
    QMap<QString, QString> entries = texts;
    entries.insert(QStringLiteral("CFBundleIdentifier"),
                   QStringLiteral("org.example.") + lowerName(name));
    entries.insert(QStringLiteral("CFBundleExecutable"), name);
    if (!writeBundleVersion(bundle, version) || !writeInfoPlistTexts(bundle, entries)) {
        ADD_FAILURE() << "cannot write the Info.plist of " << bundle.toStdString();
    }
    return bundle;
}

Application UpdateSandbox::addApplication(const QString& name, const BundleVersion& version) {
    const QString buildVersion = version.buildVersion.value_or(version.shortVersion);
    const QString bundle = writeBundle(brew.layout.applicationsDirectory, name,
                                       {version.shortVersion, buildVersion}, {});
    Application application;
    application.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    application.name = name;
    application.displayName = name;
    application.bundlePath = QFileInfo(bundle).canonicalFilePath();
    application.bundleIdentifier = QStringLiteral("org.example.") + lowerName(name);
    application.bundleVersion = buildVersion;
    application.shortVersion = version.shortVersion;
    return application;
}

void UpdateSandbox::publishCask(const QString& token, const QString& version,
                                const QString& appName) {
    brew.state.addCask(QJsonObject{
        {QStringLiteral("token"), token},
        {QStringLiteral("version"), version},
        {QStringLiteral("artifacts"),
         QJsonArray{
             QJsonObject{{QStringLiteral("app"), QJsonArray{appName + QStringLiteral(".app")}}}}},
    });
}

void UpdateSandbox::installCask(const QString& token, const QString& version) {
    brew.state.setInstalledVersion(token, version);
}

void UpdateSandbox::adopt(Application& application, const QString& token) {
    Cask cask;
    cask.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    cask.name = token;
    cask.bundleIdentifiers = {application.bundleIdentifier};
    cask.installers = {{InstallerType::app, application.name + QStringLiteral(".app")}};
    cask.confidence = 1.0;
    application.adoptedCask = cask;
    application.alreadyAdopted = true;
    application.caskOptions.clear();
}

Application UpdateSandbox::addCaskApplication(const QString& name, const QString& token,
                                              const QString& installed, const QString& available) {
    Application application = addApplication(name, {installed, installed});
    publishCask(token, available, name);
    installCask(token, installed);
    adopt(application, token);
    return application;
}

QString UpdateSandbox::feedPath(const Application& application) const {
    return QStringLiteral("/feeds/%1.xml").arg(lowerName(application.name));
}

void UpdateSandbox::publishFeed(Application& application, const BundleVersion& available,
                                FeedSigner signer) {
    QUrl feedUrl = server.baseUrl();
    feedUrl.setPath(feedPath(application));
    const QMap<QString, QString> feedKeys{
        {QStringLiteral("SUFeedURL"), feedUrl.toString()},
        {QStringLiteral("SUPublicEDKey"), publisher.publicKeyBase64()}};
    writeInfoPlistTexts(application.bundlePath, feedKeys);
    application.sparkleInfo =
        SparkleInfo{.feedURL = feedUrl.toString(), .publicKey = publisher.publicKeyBase64()};

    const QString name = lowerName(application.name);
    const QString release = writeBundle(serverFolder.filePath(QStringLiteral("releases/") + name),
                                        application.name, available, feedKeys);
    const QString archiveName = QStringLiteral("%1-%2.zip").arg(name, available.shortVersion);
    const QString archive = serverFolder.filePath(QStringLiteral("www/") + archiveName);
    QDir().mkpath(QFileInfo(archive).path());
    writeBundleArchive(release, archive, BundleArchiveFormat::zip);

    PublishedRelease published;
    published.title = application.name + u' ' + available.shortVersion;
    published.version = available.buildVersion.value_or(available.shortVersion);
    published.shortVersion = available.shortVersion;
    published.enclosureUrl = archiveName;
    published.length = QFileInfo(archive).size();
    published.edSignature =
        (signer == FeedSigner::publisher ? publisher : FeedSigningKey::generate())
            .signFile(archive)
            .value_or(QString());
    published.publishedDate = QDateTime::currentDateTimeUtc();
    published.description = QStringLiteral("<p>Fixes.</p>");
    const QString feed = serverFolder.filePath(QStringLiteral("www/%1.xml").arg(name));
    writeBytes(feed, writeAppcastFeed(published.title, {published}));
    ServedRoute feedRoute = ServedRoute::file(feed);
    feedRoute.contentType = "application/rss+xml";
    server.setRoute(feedPath(application), feedRoute);
    // The enclosure's length counts the archive's bytes as published.
    ServedRoute archiveRoute = ServedRoute::file(archive);
    archiveRoute.contentType = "application/octet-stream";
    archiveRoute.isCompressible = false;
    server.setRoute(QStringLiteral("/feeds/") + archiveName, archiveRoute);
}

Application UpdateSandbox::addFeedApplication(const QString& name, const BundleVersion& installed,
                                              const BundleVersion& available) {
    Application application = addApplication(name, installed);
    publishFeed(application, available);
    return application;
}

Application UpdateSandbox::addStoreApplication(const QString& name, const QString& storeId,
                                               const QString& installed, const QString& available) {
    Application application = addApplication(name, {installed, installed});
    mas.addInstalledApp(storeId, name, installed, application.bundlePath);
    if (!available.isEmpty()) {
        mas.addUpdate(storeId, available);
    }
    application.masApp = MASApp{storeId, name, installed};
    return application;
}

void UpdateSandbox::setStoreSupport(bool isEnabled) {
    settings.setBool(QStringLiteral("enableMASSupport"), isEnabled);
}

void UpdateSandbox::removeMas() {
    QFile::remove(brew.layout.masCandidates.first());
}

QList<FakeMasState::Invocation> UpdateSandbox::masRuns(const QString& command) const {
    QList<FakeMasState::Invocation> runs;
    for (const FakeMasState::Invocation& invocation : mas.invocations()) {
        if (invocation.arguments.value(0) == command) {
            runs.append(invocation);
        }
    }
    return runs;
}

qsizetype UpdateSandbox::feedRequests(const Application& application) const {
    qsizetype count = 0;
    for (const ServedRequest& request : server.servedRequests()) {
        count += request.path == feedPath(application) ? 1 : 0;
    }
    return count;
}

BundleVersion UpdateSandbox::bundleVersion(const Application& application) {
    return readBundleVersion(application.bundlePath).value_or(BundleVersion{});
}

bool UpdateSandbox::waitForTheFeedServiceToClear() const {
    return waitUntil(
        [this] { return logLines().contains(infoLine(QStringLiteral("Sparkle cache cleared"))); });
}

QStringList UpdateSandbox::logLines() const {
    return brew.capture.lines();
}

qsizetype UpdateSandbox::logCount(const QString& line) const {
    return logLines().count(line);
}

BrewService& UpdateSandbox::brewService() {
    return brew.brewService();
}

CaskService& UpdateSandbox::caskService() {
    return brew.caskService();
}

MASService& UpdateSandbox::masService() {
    if (!store) {
        store = std::make_unique<MASService>(logger, brew.layout, brew.clock);
    }
    return *store;
}

SparkleService& UpdateSandbox::sparkleService() {
    if (!sparkle) {
        feedClient = std::make_unique<HttpsClient>(brew.layout);
        updaterFactory = std::make_unique<AppcastUpdaterFactory>(
            *feedClient, brew.clock,
            AppcastEngineSettings{.systemVersion = QStringLiteral("15.0.0"),
                                  .preferredLanguages = {QStringLiteral("en")},
                                  .temporaryDirectory = brew.layout.temporaryDirectory,
                                  .dataDirectory = brew.path(QStringLiteral("data"))});
        sparkle = std::make_unique<SparkleService>(logger, *updaterFactory, brew.clock);
    }
    return *sparkle;
}

SkipUpdateService& UpdateSandbox::skipUpdateService() {
    if (!skips) {
        skips = std::make_unique<SkipUpdateService>(logger, settings);
    }
    return *skips;
}

UpdateService& UpdateSandbox::updateService() {
    if (!updates) {
        updates = std::make_unique<UpdateService>(logger, brewService(), caskService(),
                                                  sparkleService(), skipUpdateService(),
                                                  masService(), settings, brew.clock);
    }
    return *updates;
}

QString infoLine(const QString& message) {
    return QStringLiteral("[INFO] ") + message;
}

QString warningLine(const QString& message) {
    return QStringLiteral("[WARNING] ") + message;
}

QString errorLine(const QString& message) {
    return QStringLiteral("[ERROR] ") + message;
}

testing::AssertionResult containsInOrder(const QStringList& lines, const QStringList& expected) {
    qsizetype from = 0;
    for (const QString& line : expected) {
        const qsizetype found = lines.indexOf(line, from);
        if (found < 0) {
            return testing::AssertionFailure()
                   << "missing, or out of order: \"" << line.toStdString() << "\"\nin:\n"
                   << lines.join(u'\n').toStdString();
        }
        from = found + 1;
    }
    return testing::AssertionSuccess();
}

bool waitUntil(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 60000);
}

ProgressHandler recordStates(QList<UpdateState>& states) {
    return [&states](UpdateState state) -> QCoro::Task<> {
        states.append(state);
        co_return;
    };
}
