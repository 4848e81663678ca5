#include "platform/appcast/appcast_updater_factory.h"

#include "appcast_feed_writer.h"
#include "core/async/cancellation_error.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "install_workshop.h"
#include "platform/appcast/bundle_manifest.h"
#include "platform/appcast/updater_error.h"
#include "platform/https_sandbox.h"
#include "updates/sparkle_framework_error.h"
#include "updates/sparkle_service.h"
#include "updates/sparkle_updater.h"
#include "updates/sparkle_updater_delegate.h"
#include "updates/sparkle_user_driver.h"

#include "support/await.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace tarnel;

namespace {

// A file replaced by a new one gets another inode; one left alone keeps it.
ino_t inodeOf(const QString& path) {
    struct stat status {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

// The update stages at which a test cancels the install.
enum class CancelPoint { initializing, downloading, extracting, installing };

class AppcastUpdaterTest : public ::testing::Test {
protected:
    AppcastUpdaterTest()
        : settings(https.path(QStringLiteral("settings.json"))),
          logger(capture.sink(), settings, https.path(QStringLiteral("desktop"))) {
        QDir().mkpath(temporary());
        writeBundle(installed(), {.publicEdKey = key.publicKey()});
        installedListing = treeListing(installed());
        EXPECT_TRUE(https.server.start());
    }

    QString installed() const { return https.path(QStringLiteral("Applications/Foo.app")); }
    QString temporary() const { return https.path(QStringLiteral("tmp")); }
    QString data() const { return https.path(QStringLiteral("data")); }

    AppcastUpdaterFactory& engine() {
        if (!factory) {
            factory = std::make_unique<AppcastUpdaterFactory>(
                https.client(), clock,
                AppcastEngineSettings{.systemVersion = QStringLiteral("15.0.0"),
                                      .preferredLanguages = {QStringLiteral("en")},
                                      .temporaryDirectory = temporary(),
                                      .dataDirectory = data()});
        }
        return *factory;
    }

    SparkleService& service() {
        if (!sparkleService) {
            sparkleService = std::make_unique<SparkleService>(logger, engine(), clock);
        }
        return *sparkleService;
    }

    Application application() const {
        Application app;
        app.id = QStringLiteral("foo-id");
        app.name = QStringLiteral("Foo");
        app.displayName = QStringLiteral("Foo");
        app.bundlePath = installed();
        app.bundleIdentifier = QStringLiteral("org.example.foo");
        app.shortVersion = QStringLiteral("100");
        app.bundleVersion = QStringLiteral("100");
        app.sparkleInfo =
            SparkleInfo{.feedURL = https.url(QStringLiteral("/appcast.xml")).toString(),
                        .publicKey = key.publicKey()};
        return app;
    }

    // Publishes version `version` of the bundle as a zip signed by `signer`,
    // in a feed at /appcast.xml whose enclosure is relative.
    void publish(const QString& version, const SigningKey& signer, BundleContents contents = {}) {
        contents.version = version;
        if (!contents.publicEdKey) {
            contents.publicEdKey = key.publicKey();
        }
        const QString vendor = https.path(QStringLiteral("vendor/Foo.app"));
        QDir(vendor).removeRecursively();
        writeBundle(vendor, contents);
        const QString archive = https.path(QStringLiteral("www/Foo-%1.zip").arg(version));
        QDir().mkpath(QFileInfo(archive).path());
        ArchiveBuilder().tree(vendor, "Foo.app").writeZip(archive);
        PublishedRelease release;
        release.title = QStringLiteral("Foo ") + version;
        release.version = version;
        release.shortVersion = version;
        release.enclosureUrl = QStringLiteral("Foo-%1.zip").arg(version);
        release.length = QFileInfo(archive).size();
        release.edSignature = signer.signFile(archive);
        release.description = QStringLiteral("Better.");
        serveFeed(writeAppcastFeed(QStringLiteral("Foo"), {release}));
        ServedRoute route = ServedRoute::file(archive);
        route.contentType = "application/octet-stream";
        route.isCompressible = false;
        https.server.setRoute(QStringLiteral("/Foo-%1.zip").arg(version), route);
    }

    void serveFeed(const QByteArray& feed) {
        ServedRoute route = ServedRoute::bytes(feed);
        route.contentType = "application/rss+xml";
        https.server.setRoute(QStringLiteral("/appcast.xml"), route);
    }

    // A check returns before its skip answer is on the disk.
    static void waitForKeptAnswers() { QThreadPool::globalInstance()->waitForDone(); }

    ProgressHandler recorder() {
        return [this](UpdateState state) -> QCoro::Task<> {
            states.append(state);
            co_return;
        };
    }

    QString installedVersion() const {
        const auto manifest = readBundleManifest(installed());
        return manifest ? manifest->version : QString();
    }

    void expectInstalledUntouched() const {
        EXPECT_EQ(treeListing(installed()), installedListing);
        EXPECT_EQ(folderEntries(https.path(QStringLiteral("Applications"))),
                  QStringList{QStringLiteral("Foo.app")});
        EXPECT_TRUE(folderEntries(temporary()).isEmpty());
    }

    HttpsSandbox https;
    SettingsStore settings;
    LogCapture capture;
    Logger logger;
    ManualClock clock;
    SigningKey key;
    QStringList installedListing;
    std::unique_ptr<AppcastUpdaterFactory> factory;
    std::unique_ptr<SparkleService> sparkleService;
    QList<UpdateState> states;
};

TEST_F(AppcastUpdaterTest, ACheckFindsTheNewerReleaseWithoutTouchingTheBundle) {
    publish(QStringLiteral("200"), key);

    const auto update = await(service().checkForUpdate(application()));

    ASSERT_TRUE(update);
    EXPECT_EQ(update->availableVersion, QStringLiteral("200"));
    EXPECT_EQ(update->downloadURL, https.url(QStringLiteral("/Foo-200.zip")).toString());
    EXPECT_EQ(update->releaseNotes, QStringLiteral("Better."));
    EXPECT_GT(update->fileSize.value_or(0), 0);
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, ACheckSendsTheFeedHeadersOfTheFramework) {
    publish(QStringLiteral("200"), key);

    await(service().checkForUpdate(application()));

    const ServedRequest request = https.server.servedRequests().constFirst();
    EXPECT_EQ(request.headers.value("accept"), QByteArray("application/rss+xml,*/*;q=0.1"));
    EXPECT_TRUE(request.headers.value("user-agent").startsWith("Foo/100 Sparkle/"));
}

TEST_F(AppcastUpdaterTest, ACheckRemembersItsSkipAnswerInOurOwnDataFolder) {
    publish(QStringLiteral("200"), key);
    const QByteArray infoPlist = [this] {
        QFile file(installed() + QStringLiteral("/Contents/Info.plist"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();

    await(service().checkForUpdate(application()));
    waitForKeptAnswers();

    QFile answer(data() + QStringLiteral("/update-feeds/org.example.foo.json"));
    ASSERT_TRUE(answer.open(QIODevice::ReadOnly));
    EXPECT_TRUE(answer.readAll().contains("\"skippedVersion\":\"200\""));
    QFile plist(installed() + QStringLiteral("/Contents/Info.plist"));
    ASSERT_TRUE(plist.open(QIODevice::ReadOnly));
    EXPECT_EQ(plist.readAll(), infoPlist);
}

TEST_F(AppcastUpdaterTest, ARepeatedCheckLeavesAnUnchangedSkipAnswerAsItWas) {
    publish(QStringLiteral("200"), key);
    await(service().checkForUpdate(application()));
    waitForKeptAnswers();
    const QString answer = data() + QStringLiteral("/update-feeds/org.example.foo.json");
    const ino_t written = inodeOf(answer);
    ASSERT_NE(written, 0U);

    await(service().checkForUpdate(application()));
    waitForKeptAnswers();

    EXPECT_EQ(inodeOf(answer), written);
}

TEST_F(AppcastUpdaterTest, ACheckOfANewerReleaseReplacesTheSkipAnswer) {
    publish(QStringLiteral("200"), key);
    await(service().checkForUpdate(application()));
    waitForKeptAnswers();
    publish(QStringLiteral("300"), key);

    await(service().checkForUpdate(application()));
    waitForKeptAnswers();

    QFile answer(data() + QStringLiteral("/update-feeds/org.example.foo.json"));
    ASSERT_TRUE(answer.open(QIODevice::ReadOnly));
    EXPECT_TRUE(answer.readAll().contains("\"skippedVersion\":\"300\""));
}

TEST_F(AppcastUpdaterTest, ACheckOfAFeedWhoseNewestIsOlderFindsNothing) {
    publish(QStringLiteral("90"), key);

    EXPECT_EQ(await(service().checkForUpdate(application())), std::nullopt);
}

TEST_F(AppcastUpdaterTest, ACheckOfAMalformedRealFeedFindsNothing) {
    QFile feed(QStringLiteral(TARNEL_SHARED_DIR "/fixtures/appcast/Xcodes.xml"));
    ASSERT_TRUE(feed.open(QIODevice::ReadOnly));
    serveFeed(feed.readAll());

    EXPECT_EQ(await(service().checkForUpdate(application())), std::nullopt);
}

TEST_F(AppcastUpdaterTest, ACheckOfAFeedRedirectedToHttpFindsNothing) {
    https.server.setRoute(QStringLiteral("/appcast.xml"),
                          ServedRoute::redirect("http://127.0.0.1:9/appcast.xml"));

    EXPECT_EQ(await(service().checkForUpdate(application())), std::nullopt);
}

TEST_F(AppcastUpdaterTest, AnUpdateInstallsTheSignedReleaseInPlace) {
    publish(QStringLiteral("200"), key);

    await(service().updateViaSparkle(application(), recorder()));

    EXPECT_EQ(installedVersion(), QStringLiteral("200"));
    EXPECT_EQ(states.last(), UpdateState::completed());
    EXPECT_TRUE(std::any_of(states.begin(), states.end(), [](const UpdateState& state) {
        return state.kind() == UpdateState::Kind::downloading && state.loadedSize() > 0;
    }));
    EXPECT_TRUE(states.contains(UpdateState::extracting(1.0)));
    EXPECT_TRUE(states.contains(UpdateState::installing()));
    EXPECT_EQ(folderEntries(https.path(QStringLiteral("Applications"))),
              QStringList{QStringLiteral("Foo.app")});
    EXPECT_TRUE(folderEntries(temporary()).isEmpty());
}

TEST_F(AppcastUpdaterTest, AnArchiveSignedByAnotherKeyIsRefused) {
    publish(QStringLiteral("200"), SigningKey());

    try {
        await(service().updateViaSparkle(application(), recorder()));
        FAIL() << "installed";
    } catch (const SparkleFrameworkError& error) {
        EXPECT_EQ(error.domain(), QStringLiteral("SUSparkleErrorDomain"));
        EXPECT_EQ(error.code(), static_cast<int>(UpdaterError::Code::validation));
    }
    EXPECT_EQ(states.last().kind(), UpdateState::Kind::error);
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, ABundleWithAnotherIdentifierIsRefused) {
    publish(QStringLiteral("200"), key, {.identifier = QStringLiteral("org.example.other")});

    EXPECT_THROW(await(service().updateViaSparkle(application())), SparkleFrameworkError);
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, ABundleWithoutEdKeyCanBeCheckedButNotUpdated) {
    QDir(installed()).removeRecursively();
    writeBundle(installed(), {});
    installedListing = treeListing(installed());
    publish(QStringLiteral("200"), key);

    EXPECT_TRUE(await(service().checkForUpdate(application())));
    EXPECT_THROW(await(service().updateViaSparkle(application())), SparkleFrameworkError);
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, AnInformationalReleaseCannotBeInstalled) {
    serveFeed(
        "<?xml version=\"1.0\"?><rss version=\"2.0\" "
        "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel><item>"
        "<title>Foo 300</title><link>https://example.org/foo</link>"
        "<sparkle:version>300</sparkle:version></item></channel></rss>");

    EXPECT_TRUE(await(service().checkForUpdate(application())));
    EXPECT_THROW(await(service().updateViaSparkle(application())), SparkleFrameworkError);
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, ADownloadThatStallsEndsInAnErrorAndLeavesNothing) {
    publish(QStringLiteral("200"), key);
    ServedRoute stalled = ServedRoute::file(https.path(QStringLiteral("www/Foo-200.zip")));
    stalled.isCompressible = false;
    stalled.stall = ServedRoute::Stall::afterBodyBytes;
    stalled.stallAfterBytes = 100;
    https.server.setRoute(QStringLiteral("/Foo-200.zip"), stalled);
    https.layout.networkIdleTimeout = std::chrono::milliseconds(300);

    EXPECT_THROW(await(service().updateViaSparkle(application())), SparkleFrameworkError);
    expectInstalledUntouched();
}

// Writes down every callback of a session by its short name, repeats folded
// into one, and gives the replies it was told to give.
class RecordingDriver : public SparkleUserDriver, public SparkleUpdaterDelegate {
public:
    explicit RecordingDriver(QString feedURL) : feedURL(std::move(feedURL)) {}

    QString feedURLStringForUpdater() override { return feedURL; }

    void showUpdatePermissionRequest(std::function<void(SparklePermissionResponse)>) override {
        note("P");
    }
    void showUserInitiatedUpdateCheck(Action cancellation) override {
        note("C");
        if (cancelsTheCheck) {
            QTimer::singleShot(0, cancellation);
        }
    }
    void showUpdateFound(const SparkleAppcastItem&, SparkleUserUpdateState state,
                         std::function<void(SparkleUpdateChoice)> reply) override {
        note(state.userInitiated ? "F" : "F(scheduled)");
        QTimer::singleShot(0, [reply, choice = foundChoice] { reply(choice); });
    }
    void showUpdateReleaseNotes(const QByteArray&) override { note("RN"); }
    void showUpdateReleaseNotesFailedToDownload(const SparkleFrameworkError&) override {
        note("RN");
    }
    void showUpdateNotFound(const SparkleFrameworkError& error, Action acknowledgement) override {
        note("NF");
        notFoundCode = error.code();
        acknowledgement();
    }
    void showUpdaterError(const SparkleFrameworkError& error, Action acknowledgement) override {
        note("E");
        errorCode = error.code();
        acknowledgement();
    }
    void showDownloadInitiated(Action) override { note("D0"); }
    void showDownloadDidReceiveExpectedContentLength(std::uint64_t) override { note("D1"); }
    void showDownloadDidReceiveDataOfLength(std::uint64_t length) override {
        note("D2");
        received += length;
    }
    void showDownloadDidStartExtractingUpdate() override { note("X0"); }
    void showExtractionReceivedProgress(double) override { note("X1"); }
    void showReadyToInstallAndRelaunch(std::function<void(SparkleUpdateChoice)> reply) override {
        note("R");
        QTimer::singleShot(0, [reply, choice = readyChoice] { reply(choice); });
    }
    void showInstallingUpdate(bool, Action) override { note("I"); }
    void showUpdateInstalledAndRelaunched(bool, Action acknowledgement) override {
        note("OK");
        acknowledgement();
    }
    void showUpdateInFocus() override { note("Fo"); }
    void dismissUserInitiatedUpdateCheck() override {}
    void showSendingTerminationSignal() override {}
    void dismissUpdateInstallation() override { note("Z"); }

    // Runs a user-initiated session to its end.
    void runSession(AppcastUpdaterFactory& engine, const QString& bundlePath) {
        const std::unique_ptr<SparkleUpdater> updater =
            engine.createUpdater(bundlePath, bundlePath, *this, *this);
        ASSERT_FALSE(updater->startUpdater());
        updater->checkForUpdates();
        for (int turn = 0; turn < 1000 && !sequence.endsWith(QStringLiteral("Z")); ++turn) {
            QTest::qWait(20);
        }
        ASSERT_TRUE(sequence.endsWith(QStringLiteral("Z")))
            << sequence.join(QLatin1Char(' ')).toStdString();
    }

    SparkleUpdateChoice foundChoice = SparkleUpdateChoice::install;
    SparkleUpdateChoice readyChoice = SparkleUpdateChoice::install;
    bool cancelsTheCheck = false;
    QStringList sequence;
    std::optional<int> notFoundCode;
    std::optional<int> errorCode;
    std::uint64_t received = 0;

private:
    void note(const char* callback) {
        const QString name = QString::fromLatin1(callback);
        if (sequence.isEmpty() || sequence.last() != name) {
            sequence.append(name);
        }
    }

    QString feedURL;
};

QStringList callbacks(const char* names) {
    return QString::fromLatin1(names).split(QLatin1Char(' '));
}

TEST_F(AppcastUpdaterTest, AnInstalledUpdateGoesThroughEveryCallbackInOrder) {
    publish(QStringLiteral("200"), key);
    RecordingDriver driver(application().sparkleInfo->feedURL);

    driver.runSession(engine(), installed());

    EXPECT_EQ(driver.sequence, callbacks("C F D0 D1 D2 X0 X1 R I OK Z"));
    EXPECT_EQ(driver.received, QFileInfo(https.path(QStringLiteral("www/Foo-200.zip"))).size());
    EXPECT_EQ(installedVersion(), QStringLiteral("200"));
}

TEST_F(AppcastUpdaterTest, ACheckWithNothingNewReportsNotFoundAndEnds) {
    publish(QStringLiteral("100"), key);
    RecordingDriver driver(application().sparkleInfo->feedURL);

    driver.runSession(engine(), installed());

    EXPECT_EQ(driver.sequence, callbacks("C NF Z"));
    EXPECT_EQ(driver.notFoundCode, 1001);
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, SkippingOrDismissingTheFoundUpdateEndsTheSession) {
    for (const SparkleUpdateChoice choice :
         {SparkleUpdateChoice::skip, SparkleUpdateChoice::dismiss}) {
        publish(QStringLiteral("200"), key);
        RecordingDriver driver(application().sparkleInfo->feedURL);
        driver.foundChoice = choice;

        driver.runSession(engine(), installed());

        EXPECT_EQ(driver.sequence, callbacks("C F Z")) << static_cast<int>(choice);
        expectInstalledUntouched();
    }
}

TEST_F(AppcastUpdaterTest, SkippingWhenReadyToInstallCancelsTheInstall) {
    publish(QStringLiteral("200"), key);
    RecordingDriver driver(application().sparkleInfo->feedURL);
    driver.readyChoice = SparkleUpdateChoice::skip;

    driver.runSession(engine(), installed());

    EXPECT_EQ(driver.sequence, callbacks("C F D0 D1 D2 X0 X1 R Z"));
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, ACancelledCheckEndsSilently) {
    publish(QStringLiteral("200"), key);
    RecordingDriver driver(application().sparkleInfo->feedURL);
    driver.cancelsTheCheck = true;

    driver.runSession(engine(), installed());

    EXPECT_EQ(driver.sequence, callbacks("C Z"));
    expectInstalledUntouched();
}

TEST_F(AppcastUpdaterTest, AFailedInstallReportsTheErrorBeforeItEnds) {
    publish(QStringLiteral("200"), SigningKey());
    RecordingDriver driver(application().sparkleInfo->feedURL);

    driver.runSession(engine(), installed());

    ASSERT_GE(driver.sequence.size(), 3);
    EXPECT_EQ(driver.sequence.mid(0, 2), callbacks("C F"));
    EXPECT_EQ(driver.sequence.mid(driver.sequence.size() - 2), callbacks("E Z"));
    EXPECT_EQ(driver.errorCode, static_cast<int>(UpdaterError::Code::validation));
    expectInstalledUntouched();
}

class AppcastUpdaterCancelTest : public AppcastUpdaterTest,
                                 public ::testing::WithParamInterface<CancelPoint> {};

TEST_P(AppcastUpdaterCancelTest, ACancelAtEachStageLeavesTheBundleAsItWas) {
    publish(QStringLiteral("200"), key);
    const CancelPoint point = GetParam();
    bool hasCancelled = false;
    const ProgressHandler cancelling = [&](UpdateState state) -> QCoro::Task<> {
        const bool isThePoint =
            (point == CancelPoint::initializing &&
             state.kind() == UpdateState::Kind::initializing) ||
            (point == CancelPoint::downloading && state.kind() == UpdateState::Kind::downloading) ||
            (point == CancelPoint::extracting && state.kind() == UpdateState::Kind::extracting) ||
            (point == CancelPoint::installing && state.kind() == UpdateState::Kind::installing);
        if (isThePoint && !hasCancelled) {
            hasCancelled = true;
            service().clearCache();
        }
        co_return;
    };

    EXPECT_THROW(await(service().updateViaSparkle(application(), cancelling)), CancellationError);
    // The engine's last steps end on the worker pool; let them.
    for (int turn = 0; turn < 50 && !folderEntries(temporary()).isEmpty(); ++turn) {
        QTest::qWait(20);
    }
    EXPECT_TRUE(hasCancelled);
    expectInstalledUntouched();
}

INSTANTIATE_TEST_SUITE_P(EveryStage, AppcastUpdaterCancelTest,
                         ::testing::Values(CancelPoint::initializing, CancelPoint::downloading,
                                           CancelPoint::extracting, CancelPoint::installing));

}  // namespace
