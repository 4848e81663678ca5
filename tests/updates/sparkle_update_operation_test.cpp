#include "updates/sparkle_update_operation.h"

#include "core/async/cancellation_error.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "updates/sparkle_error.h"
#include "updates/sparkle_framework_error.h"
#include "updates/sparkle_service.h"
#include "updates/sparkle_update_error.h"

#include "scripted_sparkle_framework.h"
#include "support/await.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

const QString secureFeed = QStringLiteral("https://updates.example.test/appcast.xml");

// Plays the framework's sequence of a found update that installs, with a
// chosen announced size and increments.
ScriptedSparkleFramework::Script installing(std::uint64_t expected,
                                            QList<std::uint64_t> increments) {
    return [expected, increments](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        driver.showUserInitiatedUpdateCheck([] {});
        driver.showUpdateFound(
            {}, {SparkleUpdateStage::notDownloaded, true},
            [&driver, expected, increments](SparkleUpdateChoice choice) {
                if (choice != SparkleUpdateChoice::install) {
                    driver.dismissUpdateInstallation();
                    return;
                }
                driver.showDownloadInitiated([] {});
                driver.showDownloadDidReceiveExpectedContentLength(expected);
                for (std::uint64_t increment : increments) {
                    driver.showDownloadDidReceiveDataOfLength(increment);
                }
                driver.showDownloadDidStartExtractingUpdate();
                driver.showExtractionReceivedProgress(0.5);
                driver.showExtractionReceivedProgress(1.0);
                driver.showReadyToInstallAndRelaunch([&driver](SparkleUpdateChoice) {
                    driver.showInstallingUpdate(false, [] {});
                    driver.showUpdateInstalledAndRelaunched(true, [] {});
                    driver.dismissUpdateInstallation();
                });
            });
    };
}

class SparkleUpdateTest : public ::testing::Test {
protected:
    SparkleUpdateTest()
        : settings(directory.path() + QStringLiteral("/settings.json")),
          logger(capture.sink(), settings, directory.path()),
          service(logger, framework, clock) {}

    Application application(const QString& name = QStringLiteral("App")) {
        Application app;
        app.id = QStringLiteral("id-") + name;
        app.name = name;
        app.displayName = name;
        app.bundlePath = directory.path() + QStringLiteral("/%1.app").arg(name);
        QDir().mkpath(app.bundlePath);
        app.bundleIdentifier = QStringLiteral("test.example.") + name;
        app.shortVersion = QStringLiteral("1.0");
        app.bundleVersion = QStringLiteral("100");
        app.sparkleInfo = SparkleInfo{.feedURL = secureFeed};
        return app;
    }

    ProgressHandler recorder() {
        return [this](UpdateState state) -> QCoro::Task<> {
            states.append(state);
            co_return;
        };
    }

    // Runs one event-loop turn after another until nothing is queued.
    static void settle() {
        for (int turn = 0; turn < 10; ++turn) {
            QCoreApplication::processEvents();
        }
    }

    QTemporaryDir directory;
    SettingsStore settings;
    LogCapture capture;
    Logger logger;
    ManualClock clock;
    ScriptedSparkleFramework framework;
    SparkleService service;
    QList<UpdateState> states;
};

TEST_F(SparkleUpdateTest, AnInstallReportsEveryStageAndCompletes) {
    framework.script = installing(300, {100, 200});

    await(service.updateViaSparkle(application(), recorder()));

    const QList<UpdateState> expected = {
        UpdateState::initializing(),        UpdateState::initializing(),
        UpdateState::downloading(0, 300),   UpdateState::downloading(100, 300),
        UpdateState::downloading(300, 300), UpdateState::extracting(0),
        UpdateState::extracting(0.5),       UpdateState::extracting(1.0),
        UpdateState::installing(),          UpdateState::completed(),
    };
    EXPECT_EQ(states, expected);
    EXPECT_EQ(framework.lastFeedURL, secureFeed);
    EXPECT_FALSE(service.isUpdating(QStringLiteral("id-App")));
    settle();
    EXPECT_EQ(framework.liveCount, 0);
}

TEST_F(SparkleUpdateTest, TheStartIsLoggedByTheServiceAndByTheOperation) {
    framework.script = installing(1, {1});

    await(service.updateViaSparkle(application()));

    const QString line = QStringLiteral("[INFO] Starting Sparkle update for App");
    EXPECT_EQ(capture.lines().count(line), 2);
}

TEST_F(SparkleUpdateTest, AnAnnouncedSizeOfZeroIsReportedAsItIs) {
    framework.script = installing(0, {10, 20});

    await(service.updateViaSparkle(application(), recorder()));

    EXPECT_TRUE(states.contains(UpdateState::downloading(0, 0)));
    EXPECT_TRUE(states.contains(UpdateState::downloading(30, 0)));
}

TEST_F(SparkleUpdateTest, AnUpdateWithoutConfigurationFails) {
    Application app = application();
    app.sparkleInfo.reset();

    try {
        await(service.updateViaSparkle(app));
        FAIL() << "no error";
    } catch (const SparkleError& error) {
        EXPECT_EQ(error.errorCase(), SparkleError::Case::noSparkleConfiguration);
    }
}

TEST_F(SparkleUpdateTest, ASecondUpdateOfOneApplicationIsAlreadyInProgress) {
    framework.script = installing(1, {1});
    Application app = application();
    auto first = service.updateViaSparkle(app);

    try {
        await(service.updateViaSparkle(app));
        FAIL() << "no error";
    } catch (const SparkleError& error) {
        EXPECT_EQ(error.errorCase(), SparkleError::Case::updateAlreadyInProgress);
    }
    await(std::move(first));
}

TEST_F(SparkleUpdateTest, ANotFoundReportFailsTheUpdateWithItsDescription) {
    framework.script = [](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        driver.showUpdateNotFound(
            SparkleFrameworkError(QString::fromLatin1(SparkleFrameworkError::errorDomain), 1001,
                                  QStringLiteral("You're up to date!")),
            [] {});
    };

    try {
        await(service.updateViaSparkle(application(), recorder()));
        FAIL() << "no error";
    } catch (const SparkleFrameworkError& error) {
        EXPECT_EQ(error.code(), 1001);
    }
    EXPECT_EQ(states.last(), UpdateState::error(QStringLiteral("You're up to date!")));
}

TEST_F(SparkleUpdateTest, AMissingBundleFailsBeforeTheFrameworkIsTouched) {
    Application app = application();
    QDir(app.bundlePath).removeRecursively();

    try {
        await(service.updateViaSparkle(app, recorder()));
        FAIL() << "no error";
    } catch (const SparkleUpdateError& error) {
        EXPECT_EQ(error.description(),
                  QStringLiteral("Sparkle update failed: Could not load app bundle"));
    }
    EXPECT_EQ(framework.createdCount, 0);
}

TEST_F(SparkleUpdateTest, AnUpdaterThatCannotStartFailsTheUpdate) {
    framework.startFailure = SparkleFrameworkError(
        QString::fromLatin1(SparkleFrameworkError::errorDomain), 4005, QStringLiteral("No start"));

    EXPECT_THROW(await(service.updateViaSparkle(application())), SparkleFrameworkError);
}

TEST_F(SparkleUpdateTest, ACancelBeforeStartEndsWithoutTouchingTheFramework) {
    Application app = application();
    SparkleUpdateOperation operation(app, *app.sparkleInfo, logger, framework);
    std::exception_ptr outcome;
    int completions = 0;
    operation.setCompletionHandler([&](std::exception_ptr error) {
        outcome = error;
        ++completions;
    });

    operation.cancel();
    operation.start();
    settle();

    ASSERT_EQ(completions, 2);
    EXPECT_THROW(std::rethrow_exception(outcome), CancellationError);
    EXPECT_EQ(framework.createdCount, 0);
    EXPECT_EQ(operation.state(), UpdateState::none());
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("Cancelling Sparkle update for App")));
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("Sparkle update cancelled for App")));
}

TEST_F(SparkleUpdateTest, ACancelDuringTheDownloadCallsItsBlockAndReportsNoMore) {
    Application app = application();
    SparkleUpdateOperation operation(app, *app.sparkleInfo, logger, framework);
    operation.setProgressHandler(recorder());
    bool downloadCancelled = false;
    std::exception_ptr outcome;
    operation.setCompletionHandler([&](std::exception_ptr error) {
        if (!outcome) {
            outcome = error;
        }
    });
    framework.script = [&](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        driver.showDownloadInitiated([&] { downloadCancelled = true; });
        driver.showDownloadDidReceiveExpectedContentLength(100);
        operation.cancel();
        driver.showDownloadDidReceiveDataOfLength(50);
        driver.showDownloadDidStartExtractingUpdate();
        driver.showInstallingUpdate(false, [] {});
    };

    operation.start();
    settle();

    EXPECT_TRUE(downloadCancelled);
    EXPECT_THROW(std::rethrow_exception(outcome), CancellationError);
    EXPECT_EQ(states.last(), UpdateState::downloading(0, 100));
    EXPECT_FALSE(operation.hasUpdater());
}

TEST_F(SparkleUpdateTest, ALateErrorAfterACancelIsAcknowledgedAndIgnored) {
    Application app = application();
    SparkleUpdateOperation operation(app, *app.sparkleInfo, logger, framework);
    int completions = 0;
    operation.setCompletionHandler([&](std::exception_ptr) { ++completions; });
    bool acknowledged = false;
    framework.script = [&](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        operation.cancel();
        driver.showUpdaterError(SparkleFrameworkError(QStringLiteral("NSURLErrorDomain"), -999,
                                                      QStringLiteral("cancelled")),
                                [&] { acknowledged = true; });
    };

    operation.start();
    settle();

    EXPECT_TRUE(acknowledged);
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(operation.state(), UpdateState::none());
}

TEST_F(SparkleUpdateTest, RepliesAreDismissOnceCancelled) {
    Application app = application();
    SparkleUpdateOperation operation(app, *app.sparkleInfo, logger, framework);
    operation.setCompletionHandler([](std::exception_ptr) {});
    std::optional<SparkleUpdateChoice> found;
    std::optional<SparkleUpdateChoice> ready;

    operation.cancel();
    operation.showUpdateFound({}, {}, [&](SparkleUpdateChoice choice) { found = choice; });
    operation.showReadyToInstallAndRelaunch([&](SparkleUpdateChoice choice) { ready = choice; });

    EXPECT_EQ(found, SparkleUpdateChoice::dismiss);
    EXPECT_EQ(ready, SparkleUpdateChoice::dismiss);
}

TEST_F(SparkleUpdateTest, InstalledTwiceCompletesOnce) {
    Application app = application();
    SparkleUpdateOperation operation(app, *app.sparkleInfo, logger, framework);
    operation.setProgressHandler(recorder());
    int completions = 0;
    operation.setCompletionHandler([&](std::exception_ptr error) {
        EXPECT_FALSE(error);
        ++completions;
    });
    int acknowledgements = 0;

    operation.showUpdateInstalledAndRelaunched(true, [&] { ++acknowledgements; });
    operation.showUpdateInstalledAndRelaunched(true, [&] { ++acknowledgements; });

    EXPECT_EQ(completions, 1);
    EXPECT_EQ(acknowledgements, 2);
    EXPECT_EQ(states.count(UpdateState::completed()), 1);
}

TEST_F(SparkleUpdateTest, ClearingTheCacheCancelsARunningInstall) {
    framework.script = [this](SparkleUserDriver& driver, SparkleUpdaterDelegate&) {
        driver.showDownloadInitiated([] {});
        service.clearCache();
    };
    Application app = application();

    EXPECT_THROW(await(service.updateViaSparkle(app, recorder())), CancellationError);
    EXPECT_FALSE(service.isUpdating(app.id));
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("Sparkle update cancelled for App")));
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Sparkle cache cleared")));
}

}  // namespace
