#include "updates/sparkle_service.h"

#include "core/async/cancellation_error.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "updates/sparkle_error.h"
#include "updates/sparkle_framework_error.h"

#include "scripted_sparkle_framework.h"
#include "support/await.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

SparkleAppcastItem itemAt(const QString& displayVersion, const QString& version) {
    SparkleAppcastItem item;
    item.displayVersionString = displayVersion;
    item.versionString = version;
    item.fileURL = QUrl(QStringLiteral("https://updates.example.test/App-%1.zip").arg(version));
    item.itemDescription = QStringLiteral("Notes for %1").arg(version);
    item.date = QDateTime(QDate(2026, 3, 1), QTime(9, 30), Qt::UTC);
    item.contentLength = 4096;
    return item;
}

SparkleFrameworkError noUpdateFound(std::optional<SparkleAppcastItem> latest,
                                    bool underlying = false) {
    return SparkleFrameworkError(QString::fromLatin1(SparkleFrameworkError::errorDomain),
                                 SparkleFrameworkError::noUpdateErrorCode,
                                 QStringLiteral("You're up to date!"), std::move(latest),
                                 underlying);
}

// Offers `item` as the framework does when it finds an update.
ScriptedSparkleFramework::Script offering(SparkleAppcastItem item,
                                          std::optional<SparkleUpdateChoice>* reply = nullptr) {
    return [item, reply](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        driver.showUpdateFound(item, {SparkleUpdateStage::notDownloaded, true},
                               [reply](SparkleUpdateChoice choice) {
                                   if (reply) {
                                       *reply = choice;
                                   }
                               });
    };
}

ScriptedSparkleFramework::Script reportingNotFound(SparkleFrameworkError error,
                                                   bool* acknowledged = nullptr) {
    return [error, acknowledged](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        driver.showUpdateNotFound(error, [acknowledged] {
            if (acknowledged) {
                *acknowledged = true;
            }
        });
    };
}

class SparkleServiceTest : public ::testing::Test {
protected:
    SparkleServiceTest()
        : settings(directory.path() + QStringLiteral("/settings.json")),
          logger(capture.sink(), settings, directory.path()),
          service(logger, framework, clock) {}

    // A bundle folder on disk with an optional Info.plist text.
    Application application(const QString& name, std::optional<QString> feedURL,
                            const QString& shortVersion = QStringLiteral("1.0"),
                            const QString& bundleVersion = QStringLiteral("100")) {
        const QString bundlePath = directory.path() + QStringLiteral("/%1.app").arg(name);
        QDir().mkpath(bundlePath + QStringLiteral("/Contents"));
        Application app;
        app.id = QStringLiteral("id-") + name;
        app.name = name;
        app.displayName = name;
        app.bundlePath = bundlePath;
        app.bundleIdentifier = QStringLiteral("test.example.") + name;
        app.shortVersion = shortVersion;
        app.bundleVersion = bundleVersion;
        if (feedURL) {
            app.sparkleInfo = SparkleInfo{.feedURL = *feedURL};
        }
        return app;
    }

    void writeInfoPlist(const Application& app, const QString& body) {
        QFile file(app.bundlePath + QStringLiteral("/Contents/Info.plist"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<plist version=\"1.0\"><dict>%1</dict></plist>\n")
                       .arg(body)
                       .toUtf8());
    }

    QTemporaryDir directory;
    SettingsStore settings;
    LogCapture capture;
    Logger logger;
    ManualClock clock;
    ScriptedSparkleFramework framework;
    SparkleService service;
};

const QString secureFeed = QStringLiteral("https://updates.example.test/appcast.xml");

TEST_F(SparkleServiceTest, EligibleByInfoPlistAloneEndsInTheMissingConfigurationWarning) {
    Application app = application(QStringLiteral("Plain"), std::nullopt);
    writeInfoPlist(app, QStringLiteral("<key>SUFeedURL</key><string>%1</string>").arg(secureFeed));

    EXPECT_TRUE(await(service.isSparkleEligible(app)));
    const QList<SparkleUpdate> updates = await(service.checkForUpdates({app}));

    EXPECT_TRUE(updates.isEmpty());
    EXPECT_TRUE(capture.contains(
        LogLevel::warning, QStringLiteral("Failed to check for Sparkle update for Plain: "
                                          "Application does not have Sparkle configuration")));
    EXPECT_EQ(framework.createdCount, 0);
}

TEST_F(SparkleServiceTest, AnFtpOrEmptyFeedKeyIsNotEligible) {
    Application ftp = application(QStringLiteral("Ftp"), std::nullopt);
    writeInfoPlist(ftp,
                   QStringLiteral("<key>SUFeedURL</key><string>ftp://example.test/a.xml</string>"));
    Application empty = application(QStringLiteral("Empty"), std::nullopt);
    writeInfoPlist(empty, QStringLiteral("<key>SUFeedURL</key><string></string>"));

    EXPECT_FALSE(await(service.isSparkleEligible(ftp)));
    EXPECT_FALSE(await(service.isSparkleEligible(empty)));
}

TEST_F(SparkleServiceTest, LaterFeedKeysCountInTheirOrder) {
    Application app = application(QStringLiteral("Later"), std::nullopt);
    writeInfoPlist(app, QStringLiteral("<key>SUFeedURL</key><string>ftp://example.test</string>"
                                       "<key>SPUFeedURL</key><string>%1</string>")
                            .arg(secureFeed));

    EXPECT_TRUE(await(service.isSparkleEligible(app)));
}

TEST_F(SparkleServiceTest, AFeedKeyOnTheVendorDomainIsNotEligible) {
    Application app = application(QStringLiteral("Vendor"), std::nullopt);
    writeInfoPlist(app, QStringLiteral("<key>SUFeedURL</key>"
                                       "<string>https://feeds.apple.com/a.xml</string>"));

    EXPECT_FALSE(await(service.isSparkleEligible(app)));
}

TEST_F(SparkleServiceTest, ABundleWithoutInfoPlistIsNotEligibleAndLogsNothing) {
    Application app = application(QStringLiteral("Bare"), std::nullopt);

    EXPECT_FALSE(await(service.isSparkleEligible(app)));
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(SparkleServiceTest, AMalformedInfoPlistWarnsAndIsNotEligible) {
    Application app = application(QStringLiteral("Broken"), std::nullopt);
    QFile file(app.bundlePath + QStringLiteral("/Contents/Info.plist"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<plist><dict><key>SUFeedURL</key>");
    file.close();

    EXPECT_FALSE(await(service.isSparkleEligible(app)));
    EXPECT_TRUE(capture.containsText(QStringLiteral("Failed to read Info.plist for Broken: ")));
}

TEST_F(SparkleServiceTest, HttpFeedsAreEligibleButNeverAsked) {
    Application app =
        application(QStringLiteral("Plain"), QStringLiteral("http://example.test/a.xml"));

    EXPECT_TRUE(await(service.isSparkleEligible(app)));
    EXPECT_EQ(await(service.checkForUpdate(app)), std::nullopt);

    EXPECT_TRUE(capture.contains(
        LogLevel::warning,
        QStringLiteral("Skipping Plain - uses HTTP feed (not HTTPS), blocked by ATS policy")));
    EXPECT_EQ(framework.createdCount, 0);
}

TEST_F(SparkleServiceTest, TheVendorTestRunsBeforeTheHttpTest) {
    Application app =
        application(QStringLiteral("Tool"), QStringLiteral("http://updates.apple.com/tool.xml"));

    EXPECT_EQ(await(service.checkForUpdate(app)), std::nullopt);

    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("Skipping Tool - uses internal Apple feed URL")));
    EXPECT_FALSE(capture.containsText(QStringLiteral("HTTP feed")));
    EXPECT_EQ(framework.createdCount, 0);
}

TEST_F(SparkleServiceTest, TheCurrentVersionJoinsShortVersionAndBuild) {
    framework.script = offering(itemAt(QStringLiteral("999.0"), QStringLiteral("99999")));

    const auto joined = await(service.checkForUpdate(application(
        QStringLiteral("Joined"), secureFeed, QStringLiteral("1.2"), QStringLiteral("345"))));
    const auto same = await(service.checkForUpdate(application(
        QStringLiteral("Same"), secureFeed, QStringLiteral("345"), QStringLiteral("345"))));

    ASSERT_TRUE(joined && same);
    EXPECT_EQ(joined->currentVersion, QStringLiteral("1.2.345"));
    EXPECT_EQ(same->currentVersion, QStringLiteral("345"));
}

TEST_F(SparkleServiceTest, AFoundNewerItemBecomesAnUpdateAndIsSkippedAtTheFramework) {
    std::optional<SparkleUpdateChoice> reply;
    framework.script = offering(itemAt(QStringLiteral("2.0"), QStringLiteral("200")), &reply);
    Application app = application(QStringLiteral("App"), secureFeed);

    const auto update = await(service.checkForUpdate(app));

    ASSERT_TRUE(update);
    EXPECT_EQ(update->id, QStringLiteral("id-App_2.0.200"));
    EXPECT_EQ(update->applicationId, app.id);
    EXPECT_EQ(update->bundleIdentifier, app.bundleIdentifier);
    EXPECT_EQ(update->feedURL, secureFeed);
    EXPECT_EQ(update->currentVersion, QStringLiteral("1.0.100"));
    EXPECT_EQ(update->availableVersion, QStringLiteral("2.0.200"));
    EXPECT_EQ(update->releaseNotes, QStringLiteral("Notes for 200"));
    EXPECT_EQ(update->downloadURL, QStringLiteral("https://updates.example.test/App-200.zip"));
    EXPECT_TRUE(update->requiresRestart);
    EXPECT_EQ(update->publishedDate, QDateTime(QDate(2026, 3, 1), QTime(9, 30), Qt::UTC));
    EXPECT_EQ(update->fileSize, 4096);
    EXPECT_EQ(reply, SparkleUpdateChoice::skip);
    EXPECT_EQ(framework.lastFeedURL, secureFeed);
    EXPECT_EQ(framework.lastHostBundlePath, app.bundlePath);
    EXPECT_EQ(framework.lastApplicationBundlePath, app.bundlePath);
}

TEST_F(SparkleServiceTest, AFoundItemThatIsNotNewerByOurRuleGivesNoUpdate) {
    framework.script = offering(itemAt(QStringLiteral("1.0"), QStringLiteral("99")));

    EXPECT_EQ(await(service.checkForUpdate(application(QStringLiteral("App"), secureFeed))),
              std::nullopt);
}

TEST_F(SparkleServiceTest, ANotFoundReportWhoseLatestItemIsNewerStillGivesAnUpdate) {
    bool acknowledged = false;
    framework.script = reportingNotFound(
        noUpdateFound(itemAt(QStringLiteral("1.1"), QStringLiteral("110"))), &acknowledged);

    const auto update =
        await(service.checkForUpdate(application(QStringLiteral("App"), secureFeed)));

    ASSERT_TRUE(update);
    EXPECT_EQ(update->availableVersion, QStringLiteral("1.1.110"));
    EXPECT_TRUE(acknowledged);
}

TEST_F(SparkleServiceTest, ANotFoundReportWithAnUnderlyingErrorGivesNoUpdate) {
    framework.script = reportingNotFound(
        noUpdateFound(itemAt(QStringLiteral("1.1"), QStringLiteral("110")), true));

    EXPECT_EQ(await(service.checkForUpdate(application(QStringLiteral("App"), secureFeed))),
              std::nullopt);
}

TEST_F(SparkleServiceTest, ANotFoundReportOfAnotherCodeGivesNoUpdate) {
    framework.script = reportingNotFound(
        SparkleFrameworkError(QString::fromLatin1(SparkleFrameworkError::errorDomain), 1000,
                              QStringLiteral("The feed could not be parsed"),
                              itemAt(QStringLiteral("1.1"), QStringLiteral("110"))));

    EXPECT_EQ(await(service.checkForUpdate(application(QStringLiteral("App"), secureFeed))),
              std::nullopt);
}

TEST_F(SparkleServiceTest, AnUpdaterErrorIsNoUpdateAndIsAcknowledged) {
    bool acknowledged = false;
    framework.script = [&acknowledged](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        driver.showUpdaterError(SparkleFrameworkError(QStringLiteral("NSURLErrorDomain"), -1001,
                                                      QStringLiteral("The request timed out.")),
                                [&acknowledged] { acknowledged = true; });
    };

    EXPECT_EQ(await(service.checkForUpdate(application(QStringLiteral("App"), secureFeed))),
              std::nullopt);
    EXPECT_TRUE(acknowledged);
}

TEST_F(SparkleServiceTest, AnItemWithoutFileGivesAnEmptyDownloadAddress) {
    SparkleAppcastItem item = itemAt(QStringLiteral("2.0"), QStringLiteral("200"));
    item.fileURL.reset();
    item.contentLength = 0;
    framework.script = offering(item);

    const auto update =
        await(service.checkForUpdate(application(QStringLiteral("App"), secureFeed)));

    ASSERT_TRUE(update);
    EXPECT_EQ(update->downloadURL, QString());
    EXPECT_EQ(update->fileSize, std::nullopt);
}

TEST_F(SparkleServiceTest, AMissingBundleFailsToLoad) {
    Application app = application(QStringLiteral("Gone"), secureFeed);
    QDir(app.bundlePath).removeRecursively();

    EXPECT_THROW(
        {
            try {
                await(service.checkForUpdate(app));
            } catch (const SparkleError& error) {
                EXPECT_EQ(error.errorCase(), SparkleError::Case::failedToLoadBundle);
                throw;
            }
        },
        SparkleError);
}

TEST_F(SparkleServiceTest, AnUpdaterThatCannotStartFailsTheCheckOnlyForItsApplication) {
    framework.startFailure =
        SparkleFrameworkError(QString::fromLatin1(SparkleFrameworkError::errorDomain), 4005,
                              QStringLiteral("The updater could not start"));

    const QList<SparkleUpdate> updates =
        await(service.checkForUpdates({application(QStringLiteral("One"), secureFeed),
                                       application(QStringLiteral("Two"), secureFeed)}));

    EXPECT_TRUE(updates.isEmpty());
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to check for Sparkle update for One: "
                                                "The updater could not start")));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to check for Sparkle update for Two: "
                                                "The updater could not start")));
    EXPECT_EQ(framework.liveCount, 0);
}

TEST_F(SparkleServiceTest, ABatchChecksOneApplicationAtATimeAndSkipsExcludedOnes) {
    framework.script = offering(itemAt(QStringLiteral("2.0"), QStringLiteral("200")));
    Application excluded = application(QStringLiteral("Excluded"), secureFeed);
    excluded.excluded = true;

    const QList<SparkleUpdate> updates =
        await(service.checkForUpdates({application(QStringLiteral("One"), secureFeed), excluded,
                                       application(QStringLiteral("Two"), secureFeed),
                                       application(QStringLiteral("Three"), secureFeed)}));

    EXPECT_EQ(updates.size(), 3);
    EXPECT_EQ(framework.createdCount, 3);
    EXPECT_EQ(framework.mostLiveAtOnce, 1);
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("Checking Sparkle updates for 3 apps")));
}

TEST_F(SparkleServiceTest, ASecondBatchWithinHalfAnHourUsesTheCache) {
    framework.script = offering(itemAt(QStringLiteral("2.0"), QStringLiteral("200")));
    const QList<Application> applications = {application(QStringLiteral("One"), secureFeed)};
    const QList<SparkleUpdate> first = await(service.checkForUpdates(applications));

    clock.advance(1799);
    const QList<SparkleUpdate> second = await(service.checkForUpdates(applications));

    EXPECT_EQ(second, first);
    EXPECT_EQ(framework.createdCount, 1);
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("Using cached Sparkle update results")));

    clock.advance(1);
    await(service.checkForUpdates(applications));
    EXPECT_EQ(framework.createdCount, 2);
}

TEST_F(SparkleServiceTest, ABatchWithoutEligibleApplicationsStillStartsTheCacheLife) {
    const QList<Application> applications = {application(QStringLiteral("Bare"), std::nullopt)};

    EXPECT_TRUE(await(service.checkForUpdates(applications)).isEmpty());
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("No applications with SparkleInfo found")));

    capture.clear();
    await(service.checkForUpdates(applications));
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("Using cached Sparkle update results")));
}

TEST_F(SparkleServiceTest, ClearingTheCacheMakesTheNextBatchAskAgain) {
    framework.script = offering(itemAt(QStringLiteral("2.0"), QStringLiteral("200")));
    const QList<Application> applications = {application(QStringLiteral("One"), secureFeed)};
    await(service.checkForUpdates(applications));

    service.clearCache();
    await(service.checkForUpdates(applications));

    EXPECT_EQ(framework.createdCount, 2);
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Sparkle cache cleared")));
}

TEST_F(SparkleServiceTest, TheCheckReleasesItsUpdaterWhenItEnds) {
    framework.script = offering(itemAt(QStringLiteral("2.0"), QStringLiteral("200")));

    await(service.checkForUpdate(application(QStringLiteral("One"), secureFeed)));

    EXPECT_EQ(framework.liveCount, 0);
}

}  // namespace
