#include "update_sandbox.h"

#include "core/async/task_handle.h"
#include "homebrew/brew_error.h"
#include "updates/mas_error.h"

#include "support/await.h"

#include <QDateTime>
#include <QFile>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>

using namespace tarnel;

namespace {

QStringList applicationIds(const UpdateLists& lists) {
    QStringList ids;
    for (const BrewUpdate& update : lists.brewUpdates) {
        ids.append(QStringLiteral("brew ") + update.applicationId);
    }
    for (const SparkleUpdate& update : lists.sparkleUpdates) {
        ids.append(QStringLiteral("feed ") + update.applicationId);
    }
    for (const MASUpdate& update : lists.masUpdates) {
        ids.append(QStringLiteral("store ") + update.appId);
    }
    return ids;
}

class UpdateDiscovery : public ::testing::Test {
protected:
    UpdateLists discover() { return await(startDiscovery().result()); }

    TaskHandle<UpdateLists> startDiscovery() {
        return startTask([&service = sandbox.updateService(),
                          applications = QList<Application>{tool, editor, one}] {
            return service.discoverAllUpdates(applications, false);
        });
    }

    // Every source with its pending update.
    QStringList everyUpdate() const {
        return {QStringLiteral("brew ") + tool.id, QStringLiteral("feed ") + editor.id,
                QStringLiteral("store 111")};
    }

    qsizetype outdatedRuns() const {
        return sandbox.brew.state.invocationsOf(QStringLiteral("outdated")).size();
    }
    qsizetype storeChecks() const { return sandbox.masRuns(QStringLiteral("outdated")).size(); }

    UpdateSandbox sandbox;
    // Managed by cask "tool": 1.0 installed, 2.0 in the catalogue.
    Application tool = sandbox.addCaskApplication(QStringLiteral("Tool"), QStringLiteral("tool"),
                                                  QStringLiteral("1.0"), QStringLiteral("2.0"));
    // Installed by hand; its own feed offers 2.0 (build 200).
    Application editor =
        sandbox.addFeedApplication(QStringLiteral("Editor"), {"1.0", "100"}, {"2.0", "200"});
    // From the store, with 2.0 pending.
    Application one = sandbox.addStoreApplication(QStringLiteral("One"), QStringLiteral("111"),
                                                  QStringLiteral("1.0"), QStringLiteral("2.0"));
};

}  // namespace

TEST_F(UpdateDiscovery, WithoutStoreSupportNoMasRuns) {
    const UpdateLists lists = discover();

    EXPECT_EQ(applicationIds(lists), everyUpdate().mid(0, 2));
    EXPECT_TRUE(sandbox.mas.invocations().isEmpty());
    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Starting comprehensive update discovery for 3 applications")),
         infoLine(
             QStringLiteral("Update discovery completed: 1 brew, 1 sparkle, 0 MAS updates"))}));
}

TEST_F(UpdateDiscovery, WithStoreSupportEverySourceAnswers) {
    sandbox.setStoreSupport(true);

    const UpdateLists lists = discover();

    EXPECT_EQ(applicationIds(lists), everyUpdate());
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info,
        QStringLiteral("Update discovery completed: 1 brew, 1 sparkle, 1 MAS updates")));
}

TEST_F(UpdateDiscovery, AsksBrewAndTheFeedsSideBySide) {
    // `brew` is held until the feed is asked for; asked one after the other,
    // the feed would come only after `brew`, which only the guard would free.
    const QString release = sandbox.brew.path(QStringLiteral("release-outdated"));
    const auto feedAskedAt = std::make_shared<std::atomic<qint64>>(0);
    const auto releaseBrew = [release] {
        QFile file(release);
        file.open(QIODevice::WriteOnly);
    };
    sandbox.server.setRequestObserver([feedAskedAt, releaseBrew](const ServedRequest& request) {
        if (request.path.endsWith(QStringLiteral("editor.xml"))) {
            *feedAskedAt = QDateTime::currentMSecsSinceEpoch();
            releaseBrew();
        }
    });
    sandbox.brew.state.setBehaviour(QStringLiteral("outdated"),
                                    FakeBrewBehaviour{.heldUntil = release});
    QObject guard;
    QTimer::singleShot(std::chrono::seconds(30), &guard, releaseBrew);

    EXPECT_EQ(applicationIds(discover()), everyUpdate().mid(0, 2));

    sandbox.server.setRequestObserver({});
    const QList<FakeBrewInvocation> runs =
        sandbox.brew.state.invocationsOf(QStringLiteral("outdated"));
    ASSERT_EQ(runs.size(), 1);
    ASSERT_NE(feedAskedAt->load(), 0);
    EXPECT_LT(feedAskedAt->load(), runs.first().endedAt);
}

TEST_F(UpdateDiscovery, AsksTheStoreAfterBrewAndTheFeeds) {
    sandbox.setStoreSupport(true);

    discover();

    const QList<FakeBrewInvocation> brewChecks =
        sandbox.brew.state.invocationsOf(QStringLiteral("outdated"));
    const QList<FakeMasState::Invocation> storeRuns = sandbox.masRuns(QStringLiteral("outdated"));
    ASSERT_EQ(brewChecks.size(), 1);
    ASSERT_EQ(storeRuns.size(), 1);
    EXPECT_GE(storeRuns.first().start, brewChecks.first().endedAt * 1000);
    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Filtered result: 1 updates after removing 0 skipped versions "
                                 "(started with 1)")),
         infoLine(QStringLiteral("Filtered result: 1 Sparkle updates after removing 0 skipped "
                                 "versions (started with 1)")),
         infoLine(QStringLiteral("Checking MAS updates for 1 apps"))}));
}

TEST_F(UpdateDiscovery, ASkippedBrewVersionIsHiddenAndComesBackWithoutANewCheck) {
    discover();
    sandbox.skipUpdateService().skipVersion(tool.bundleIdentifier, QStringLiteral("2.0"));

    EXPECT_TRUE(discover().brewUpdates.isEmpty());
    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Filtering 1 Brew updates for skipped versions")),
         infoLine(QStringLiteral("Hiding update for app org.example.tool version 2.0 - was "
                                 "previously skipped")),
         infoLine(QStringLiteral("Update tool v2.0: shouldShow = false")),
         infoLine(QStringLiteral("Skipping update for tool v2.0 - version was previously skipped")),
         infoLine(QStringLiteral("Filtered result: 0 updates after removing 1 skipped versions "
                                 "(started with 1)"))}));

    sandbox.skipUpdateService().clearAllSkippedVersions();

    EXPECT_EQ(applicationIds(discover()), everyUpdate().mid(0, 2));
    EXPECT_EQ(outdatedRuns(), 1);
}

TEST_F(UpdateDiscovery, ASkippedFeedVersionIsHiddenAndComesBackWithoutANewCheck) {
    discover();
    sandbox.skipUpdateService().skipVersion(editor.bundleIdentifier, QStringLiteral("2.0.200"));

    EXPECT_TRUE(discover().sparkleUpdates.isEmpty());
    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Filtering 1 Sparkle updates for skipped versions")),
         infoLine(QStringLiteral("Hiding update for app org.example.editor version 2.0.200 - was "
                                 "previously skipped")),
         infoLine(QStringLiteral("Update %1 v2.0.200: shouldShow = false").arg(editor.id)),
         infoLine(QStringLiteral("Skipping Sparkle update for %1 v2.0.200 - version was "
                                 "previously skipped")
                      .arg(editor.id)),
         infoLine(QStringLiteral("Filtered result: 0 Sparkle updates after removing 1 skipped "
                                 "versions (started with 1)"))}));

    sandbox.skipUpdateService().clearAllSkippedVersions();

    EXPECT_EQ(applicationIds(discover()), everyUpdate().mid(0, 2));
    EXPECT_EQ(sandbox.feedRequests(editor), 1);
}

TEST_F(UpdateDiscovery, AnAdoptedApplicationWithAFeedIsAskedOfBrewOnly) {
    sandbox.publishFeed(tool, {"3.0", "300"});

    const UpdateLists lists = discover();

    EXPECT_EQ(applicationIds(lists), everyUpdate().mid(0, 2));
    EXPECT_EQ(sandbox.feedRequests(tool), 0);
}

TEST_F(UpdateDiscovery, AHandInstalledApplicationHasAFeedUpdateButNoBrewUpdate) {
    const UpdateLists lists = await(sandbox.updateService().discoverAllUpdates({editor}, false));

    EXPECT_EQ(applicationIds(lists), QStringList{QStringLiteral("feed ") + editor.id});
    EXPECT_EQ(outdatedRuns(), 0);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info, QStringLiteral("No Brew-managed applications found")));
}

TEST_F(UpdateDiscovery, DiscoveriesWithin1800SecondsRunBrewOnceAndTheStoreAsItsCacheAllows) {
    sandbox.setStoreSupport(true);

    discover();
    sandbox.brew.clock.advance(300);
    discover();
    sandbox.brew.clock.advance(400);
    EXPECT_EQ(applicationIds(discover()), everyUpdate());

    EXPECT_EQ(outdatedRuns(), 1);
    EXPECT_EQ(sandbox.feedRequests(editor), 1);
    EXPECT_EQ(storeChecks(), 2);
}

TEST_F(UpdateDiscovery, AfterClearingOneApplicationsCacheItHasNoUpdateUntilTheCheckAges) {
    discover();
    sandbox.updateService().clearUpdateCache(tool.id);
    sandbox.updateService().clearUpdateCache(editor.id);

    EXPECT_TRUE(applicationIds(discover()).isEmpty());
    EXPECT_EQ(outdatedRuns(), 1);
    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Cleared update cache for application: %1").arg(tool.id)),
         infoLine(QStringLiteral("Cleared update cache for application: %1").arg(editor.id))}));

    sandbox.brew.clock.advance(1800);
    EXPECT_EQ(applicationIds(discover()), everyUpdate().mid(0, 2));
    EXPECT_EQ(outdatedRuns(), 2);
}

TEST_F(UpdateDiscovery, AfterClearingEveryCacheEverySourceIsAskedAgain) {
    sandbox.setStoreSupport(true);
    discover();

    await(sandbox.updateService().clearAllUpdateCaches());
    ASSERT_TRUE(sandbox.waitForTheFeedServiceToClear());

    EXPECT_EQ(applicationIds(discover()), everyUpdate());
    EXPECT_EQ(outdatedRuns(), 2);
    EXPECT_EQ(sandbox.feedRequests(editor), 2);
    EXPECT_EQ(storeChecks(), 2);
}

TEST_F(UpdateDiscovery, ClearingEveryCacheTellsOfTheFeedsBeforeTheirServiceIsCleared) {
    discover();

    await(sandbox.updateService().clearAllUpdateCaches());
    ASSERT_TRUE(sandbox.waitForTheFeedServiceToClear());

    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("Brew update cache refreshed")),
                                 infoLine(QStringLiteral("Sparkle update cache refreshed")),
                                 infoLine(QStringLiteral("MAS update cache cleared")),
                                 infoLine(QStringLiteral("All update caches cleared"))}));
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("Sparkle update cache refreshed")),
                                 infoLine(QStringLiteral("Sparkle cache cleared"))}));
}

TEST_F(UpdateDiscovery, TwoDiscoveriesStartedCloseTogetherBothDoTheFullWork) {
    sandbox.brew.state.setBehaviour(QStringLiteral("outdated"),
                                    FakeBrewBehaviour{.delayMilliseconds = 500});

    const TaskHandle<UpdateLists> first = startDiscovery();
    const TaskHandle<UpdateLists> second = startDiscovery();

    EXPECT_EQ(applicationIds(await(first.result())), everyUpdate().mid(0, 2));
    EXPECT_EQ(applicationIds(await(second.result())), everyUpdate().mid(0, 2));
    const QList<FakeBrewInvocation> runs =
        sandbox.brew.state.invocationsOf(QStringLiteral("outdated"));
    ASSERT_EQ(runs.size(), 2);
    EXPECT_LT(runs.at(0).startedAt, runs.at(1).endedAt);
    EXPECT_LT(runs.at(1).startedAt, runs.at(0).endedAt);
    EXPECT_EQ(sandbox.feedRequests(editor), 2);
    EXPECT_EQ(applicationIds(discover()), everyUpdate().mid(0, 2));
    EXPECT_EQ(outdatedRuns(), 2);
}

TEST_F(UpdateDiscovery, AFailedBrewCheckEndsTheDiscovery) {
    sandbox.setStoreSupport(true);
    sandbox.brew.state.setBehaviour(
        QStringLiteral("outdated"),
        FakeBrewBehaviour{.exitStatus = 2, .standardError = "Error: broken"});

    EXPECT_THROW(discover(), BrewError);

    EXPECT_TRUE(sandbox.mas.invocations().isEmpty());
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("Update discovery completed")));
}

TEST_F(UpdateDiscovery, AFailingStoreEndsTheDiscoveryButTheOtherCachesAreFilled) {
    sandbox.setStoreSupport(true);
    sandbox.mas.failCommand(QStringLiteral("outdated"), 1, QStringLiteral("Error: not signed in"),
                            {});

    EXPECT_THROW(discover(), MASError);

    sandbox.setStoreSupport(false);
    EXPECT_EQ(applicationIds(discover()), everyUpdate().mid(0, 2));
    EXPECT_EQ(outdatedRuns(), 1);
    EXPECT_EQ(sandbox.feedRequests(editor), 1);
}

TEST_F(UpdateDiscovery, WithoutMasTheStoreListIsEmptyAndTheRestStands) {
    sandbox.setStoreSupport(true);
    sandbox.removeMas();

    EXPECT_EQ(applicationIds(discover()), everyUpdate().mid(0, 2));

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("MAS CLI not found - skipping MAS update check")));
}
