#include "update_sandbox.h"

#include "core/async/cancellation_error.h"
#include "core/async/task_handle.h"

#include "support/await.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

BrewUpdate brewUpdate(const QString& token, const QString& version) {
    BrewUpdate update;
    update.id = token + QStringLiteral("-id_") + version;
    update.applicationId = token + QStringLiteral("-id");
    update.bundleIdentifier = QStringLiteral("org.example.") + token;
    update.caskName = token;
    update.currentVersion = QStringLiteral("1.0");
    update.availableVersion = version;
    return update;
}

SparkleUpdate sparkleUpdate(const QString& name, const QString& version) {
    SparkleUpdate update;
    update.id = name + QStringLiteral("-id_") + version;
    update.applicationId = name + QStringLiteral("-id");
    update.bundleIdentifier = QStringLiteral("org.example.") + name;
    update.currentVersion = QStringLiteral("1.0");
    update.availableVersion = version;
    return update;
}

class UpdateCaches : public ::testing::Test {
protected:
    QList<BrewUpdate> brewUpdates() {
        return await(sandbox.updateService().checkBrewUpdates({tool}, false));
    }
    QList<SparkleUpdate> feedUpdates(const QList<Application>& applications) {
        return await(sandbox.updateService().checkSparkleUpdates(applications));
    }

    UpdateSandbox sandbox;
    // Managed by cask "tool": 1.0 installed, 2.0 in the catalogue.
    Application tool = sandbox.addCaskApplication(QStringLiteral("Tool"), QStringLiteral("tool"),
                                                  QStringLiteral("1.0"), QStringLiteral("2.0"));
    // Installed by hand; its own feed offers 2.0 (build 200).
    Application editor =
        sandbox.addFeedApplication(QStringLiteral("Editor"), {"1.0", "100"}, {"2.0", "200"});
};

}  // namespace

TEST_F(UpdateCaches, AFeedCheckWithin1800SecondsAnswersFromItsOwnCache) {
    const QList<SparkleUpdate> first = feedUpdates({editor});
    sandbox.brew.clock.advance(1799);

    EXPECT_EQ(feedUpdates({editor}), first);

    ASSERT_EQ(first.size(), 1);
    EXPECT_EQ(first.first().availableVersion, QStringLiteral("2.0.200"));
    EXPECT_EQ(sandbox.feedRequests(editor), 1);
    EXPECT_EQ(sandbox.logCount(infoLine(QStringLiteral("Discovering Sparkle updates..."))), 1);
}

TEST_F(UpdateCaches, AFeedCheckOf1800SecondsAgoAsksTheFeedAgain) {
    feedUpdates({editor});
    sandbox.brew.clock.advance(1800);

    EXPECT_EQ(feedUpdates({editor}).size(), 1);

    EXPECT_EQ(sandbox.feedRequests(editor), 2);
}

TEST_F(UpdateCaches, ManagedApplicationsAloneGiveAFeedCheckWithNothingToAsk) {
    sandbox.publishFeed(tool, {"3.0", "300"});

    EXPECT_TRUE(feedUpdates({tool}).isEmpty());
    EXPECT_TRUE(feedUpdates({tool, editor}).isEmpty());

    EXPECT_EQ(sandbox.feedRequests(tool), 0);
    EXPECT_EQ(sandbox.feedRequests(editor), 0);
    EXPECT_EQ(sandbox.logCount(infoLine(QStringLiteral("Discovering Sparkle updates..."))), 1);
}

TEST_F(UpdateCaches, TheBrewFilterLogsEveryUpdateItKeepsOrHides) {
    sandbox.skipUpdateService().skipVersion(QStringLiteral("org.example.beta"),
                                            QStringLiteral("3.0"));
    const BrewUpdate alpha = brewUpdate(QStringLiteral("alpha"), QStringLiteral("2.0"));
    const BrewUpdate beta = brewUpdate(QStringLiteral("beta"), QStringLiteral("3.0"));

    EXPECT_EQ(sandbox.updateService().filterSkippedBrewUpdates({alpha, beta}),
              QList<BrewUpdate>{alpha});

    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Filtering 2 Brew updates for skipped versions")),
         infoLine(QStringLiteral("Update alpha v2.0: shouldShow = true")),
         infoLine(QStringLiteral("Hiding update for app org.example.beta version 3.0 - was "
                                 "previously skipped")),
         infoLine(QStringLiteral("Update beta v3.0: shouldShow = false")),
         infoLine(QStringLiteral("Skipping update for beta v3.0 - version was previously skipped")),
         infoLine(QStringLiteral("Filtered result: 1 updates after removing 1 skipped versions "
                                 "(started with 2)"))}));
}

TEST_F(UpdateCaches, TheFeedFilterLogsEveryUpdateItKeepsOrHides) {
    sandbox.skipUpdateService().skipVersion(QStringLiteral("org.example.beta"),
                                            QStringLiteral("3.0"));
    const SparkleUpdate alpha = sparkleUpdate(QStringLiteral("alpha"), QStringLiteral("2.0"));
    const SparkleUpdate beta = sparkleUpdate(QStringLiteral("beta"), QStringLiteral("3.0"));

    EXPECT_EQ(sandbox.updateService().filterSkippedSparkleUpdates({alpha, beta}),
              QList<SparkleUpdate>{alpha});

    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Filtering 2 Sparkle updates for skipped versions")),
         infoLine(QStringLiteral("Update alpha-id v2.0: shouldShow = true")),
         infoLine(QStringLiteral("Hiding update for app org.example.beta version 3.0 - was "
                                 "previously skipped")),
         infoLine(QStringLiteral("Update beta-id v3.0: shouldShow = false")),
         infoLine(QStringLiteral("Skipping Sparkle update for beta-id v3.0 - version was "
                                 "previously skipped")),
         infoLine(QStringLiteral("Filtered result: 1 Sparkle updates after removing 1 skipped "
                                 "versions (started with 2)"))}));
}

TEST_F(UpdateCaches, FilteringNothingLogsOnlyTheFirstAndTheLastLine) {
    UpdateService& service = sandbox.updateService();
    sandbox.brew.capture.clear();

    EXPECT_TRUE(service.filterSkippedBrewUpdates({}).isEmpty());
    EXPECT_TRUE(service.filterSkippedSparkleUpdates({}).isEmpty());

    EXPECT_EQ(
        sandbox.logLines(),
        (QStringList{infoLine(QStringLiteral("Filtering 0 Brew updates for skipped versions")),
                     infoLine(QStringLiteral("Filtered result: 0 updates after removing 0 "
                                             "skipped versions (started with 0)")),
                     infoLine(QStringLiteral("Filtering 0 Sparkle updates for skipped "
                                             "versions")),
                     infoLine(QStringLiteral("Filtered result: 0 Sparkle updates after "
                                             "removing 0 skipped versions (started with "
                                             "0)"))}));
}

TEST_F(UpdateCaches, SkippingABrewUpdateKeepsTheVersionAndDropsItFromTheCache) {
    ASSERT_EQ(brewUpdates().size(), 1);

    sandbox.updateService().skipBrewUpdate(tool.id, QStringLiteral("2.0"), tool.bundleIdentifier);

    EXPECT_TRUE(
        sandbox.skipUpdateService().isVersionSkipped(tool.bundleIdentifier, QStringLiteral("2.0")));
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info,
        QStringLiteral("Skipped Brew update version 2.0 for bundle org.example.tool")));
    sandbox.skipUpdateService().clearAllSkippedVersions();
    EXPECT_TRUE(brewUpdates().isEmpty());
    EXPECT_EQ(sandbox.brew.state.invocationsOf(QStringLiteral("outdated")).size(), 1);
}

TEST_F(UpdateCaches, SkippingAFeedUpdateKeepsTheVersionAndDropsItFromTheCache) {
    ASSERT_EQ(feedUpdates({editor}).size(), 1);

    sandbox.updateService().skipSparkleUpdate(editor.id, QStringLiteral("2.0.200"),
                                              editor.bundleIdentifier);

    EXPECT_TRUE(sandbox.skipUpdateService().isVersionSkipped(editor.bundleIdentifier,
                                                             QStringLiteral("2.0.200")));
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info,
        QStringLiteral("Skipped Sparkle update version 2.0.200 for bundle org.example.editor")));
    sandbox.skipUpdateService().clearAllSkippedVersions();
    EXPECT_TRUE(feedUpdates({editor}).isEmpty());
    EXPECT_EQ(sandbox.feedRequests(editor), 1);
}

TEST_F(UpdateCaches, ClearingTheAdoptionCachesAsksForTheInstalledCasksAgainOnly) {
    ASSERT_EQ(brewUpdates().size(), 1);
    await(sandbox.caskService().fetchInstalledCasks());

    sandbox.updateService().clearAdoptionCaches();

    await(sandbox.caskService().fetchInstalledCasks());
    EXPECT_EQ(sandbox.brew.state.invocationsOf(QStringLiteral("list")).size(), 2);
    EXPECT_EQ(brewUpdates().size(), 1);
    EXPECT_EQ(sandbox.brew.state.invocationsOf(QStringLiteral("outdated")).size(), 1);
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("Cleared installed casks cache")),
                                 infoLine(QStringLiteral("Cleared adoption-related caches"))}));
}

TEST_F(UpdateCaches, RefreshingTheFeedCacheAsksTheFeedAgain) {
    feedUpdates({editor});

    sandbox.updateService().refreshSparkleCache();
    ASSERT_TRUE(sandbox.waitForTheFeedServiceToClear());

    EXPECT_EQ(feedUpdates({editor}).size(), 1);
    EXPECT_EQ(sandbox.feedRequests(editor), 2);
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("Sparkle update cache refreshed")),
                                 infoLine(QStringLiteral("Sparkle cache cleared"))}));
}

TEST_F(UpdateCaches, RefreshingTheFeedCacheCancelsARunningInstall) {
    UpdateService& service = sandbox.updateService();
    const TaskHandle<> install = startTask(
        [&service, application = editor] { return service.updateViaSparkle(application); });
    ASSERT_TRUE(waitUntil([&] { return sandbox.sparkleService().isUpdating(editor.id); }));

    service.refreshSparkleCache();

    EXPECT_THROW(await(install.result()), CancellationError);
    EXPECT_EQ(UpdateSandbox::bundleVersion(editor).shortVersion, QStringLiteral("1.0"));
}
