#include "coordinator_sandbox.h"
#include "support/await.h"
#include "test_property_list.h"

#include "core/log_level.h"
#include "homebrew/brew_error.h"

#include <QDir>

#include <gtest/gtest.h>

#include <algorithm>

using namespace tarnel;

namespace {

// A real bundle's Info.plist without its update feed, whose address is on
// the internet, which tests never reach.
TestPropertyList withoutFeed(const QString& fixture) {
    return std::move(TestPropertyList::fromData(fixtureInfoPlist(fixture)).remove("SUFeedURL"));
}

// Rectangle adopted at 0.85 while its cask offers 0.98; Maccy and Stats by hand.
void layOutMachine(CoordinatorSandbox& sandbox) {
    sandbox.bundles.addFixture(QStringLiteral("Rectangle.app"), QStringLiteral("Rectangle"));
    sandbox.bundles.addBundle(QStringLiteral("Maccy.app"),
                              withoutFeed(QStringLiteral("Maccy")).xml());
    sandbox.bundles.addFixture(QStringLiteral("Utilities/Stats.app"), QStringLiteral("Stats"));
    sandbox.brew.state.addCaskFromFile(
        QStringLiteral(TARNEL_SHARED_DIR "/data/casks/rectangle.json"));
    sandbox.installCask(QStringLiteral("rectangle"), QStringLiteral("0.85"));
}

fakebrew::CommandBehaviour failing(int status) {
    fakebrew::CommandBehaviour behaviour;
    behaviour.exitStatus = status;
    behaviour.standardError = "Error: broken on purpose";
    return behaviour;
}

QMap<QString, QString> idsByPath(const QList<Application>& applications) {
    QMap<QString, QString> ids;
    for (const Application& application : applications) {
        ids.insert(application.bundlePath, application.id);
    }
    return ids;
}

// Searches that asked `brew` rather than the cache.
qsizetype homebrewSearches(const CoordinatorSandbox& sandbox) {
    return sandbox.brew.capture.lines().count(
        QStringLiteral("[INFO] Checking for Brew updates..."));
}

DiscoveryOutcome refresh(CoordinatorSandbox& sandbox, RecordedProgress& progress) {
    return await(sandbox.coordinator().performFullRefresh(progress));
}

DiscoveryOutcome firstDiscovery(CoordinatorSandbox& sandbox) {
    return await(sandbox.coordinator().performInitialDiscovery());
}

}  // namespace

TEST(AppCoordinator, FirstDiscoveryGivesTheApplicationsWithTheirUpdates) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);

    const DiscoveryOutcome outcome = firstDiscovery(sandbox);

    EXPECT_EQ(displayNames(outcome.applications),
              (QStringList{QStringLiteral("Maccy"), QStringLiteral("Rectangle"),
                           QStringLiteral("Stats")}));
    ASSERT_EQ(outcome.updates.brewUpdates.size(), 1);
    EXPECT_EQ(outcome.updates.brewUpdates.constFirst().caskName, QStringLiteral("rectangle"));
    EXPECT_EQ(outcome.updates.brewUpdates.constFirst().availableVersion, QStringLiteral("0.98"));
    EXPECT_EQ(sandbox.coordinator().currentApplications(), outcome.applications);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info,
        QStringLiteral(
            "Finished processing 3 apps, 1 brew updates, 0 sparkle updates, and 0 MAS updates")));
}

TEST(AppCoordinator, FirstDiscoveryRunsVersionUpdateAndOneUpdateSearchInThatOrder) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);

    firstDiscovery(sandbox);

    QStringList commands;
    for (const FakeBrewInvocation& invocation : sandbox.brew.state.invocations()) {
        commands.append(invocation.arguments.value(0));
    }
    ASSERT_GE(commands.size(), 3);
    EXPECT_EQ(commands.mid(0, 2),
              (QStringList{QStringLiteral("--version"), QStringLiteral("update")}));
    EXPECT_EQ(homebrewSearches(sandbox), 1);
}

TEST(AppCoordinator, FailingVersionCheckBlocksTheFirstDiscovery) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    sandbox.brew.state.setBehaviour(QStringLiteral("--version"), failing(1));

    EXPECT_THROW(firstDiscovery(sandbox), BrewError);

    EXPECT_TRUE(sandbox.brew.capture.containsText(
        QStringLiteral("Homebrew configuration issue detected, blocking discovery: ")));
    EXPECT_EQ(sandbox.brew.state.invocationsOf(QStringLiteral("update")).size(), 0);
    EXPECT_EQ(sandbox.brew.state.invocationsOf(QStringLiteral("list")).size(), 0);
    EXPECT_TRUE(sandbox.coordinator().currentApplications().isEmpty());
}

TEST(AppCoordinator, FailingVersionCheckAndUpdateLeaveARefreshGoing) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    sandbox.brew.state.setBehaviour(QStringLiteral("--version"), failing(1));
    sandbox.brew.state.setBehaviour(QStringLiteral("update"), failing(1));
    RecordedProgress progress;

    const DiscoveryOutcome outcome = refresh(sandbox, progress);

    EXPECT_EQ(outcome.applications.size(), 3);
    EXPECT_EQ(sandbox.brew.state.invocationsOf(QStringLiteral("--version")).size(), 0);
    EXPECT_EQ(sandbox.brew.state.invocationsOf(QStringLiteral("update")).size(), 1);
    EXPECT_TRUE(sandbox.brew.capture.containsText(QStringLiteral("brew update failed: ")));
}

TEST(AppCoordinator, RefreshOfAnUnchangedFolderKeepsEveryIdentifierAndDropsVanishedBundles) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    const DiscoveryOutcome first = firstDiscovery(sandbox);
    const QString statsPath = named(first.applications, QStringLiteral("Stats")).bundlePath;
    ASSERT_TRUE(QDir(statsPath).removeRecursively());
    RecordedProgress progress;

    const DiscoveryOutcome second = refresh(sandbox, progress);

    QMap<QString, QString> expected = idsByPath(first.applications);
    expected.remove(statsPath);
    EXPECT_EQ(idsByPath(second.applications), expected);
    EXPECT_EQ(sandbox.coordinator().currentApplications(), second.applications);
}

TEST(AppCoordinator, BundleReinstalledAtTheSamePathKeepsItsIdentifierAndShowsItsNewVersion) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    const Application before = named(firstDiscovery(sandbox).applications, QStringLiteral("Maccy"));
    ASSERT_TRUE(QDir(before.bundlePath).removeRecursively());
    sandbox.bundles.addBundle(QStringLiteral("Maccy.app"),
                              withoutFeed(QStringLiteral("Maccy"))
                                  .text("CFBundleShortVersionString", QStringLiteral("9.9.9"))
                                  .xml());
    RecordedProgress progress;

    const Application after =
        named(refresh(sandbox, progress).applications, QStringLiteral("Maccy"));

    EXPECT_EQ(after.id, before.id);
    EXPECT_EQ(after.shortVersion, QStringLiteral("9.9.9"));
    EXPECT_NE(before.shortVersion, after.shortVersion);
}

TEST(AppCoordinator, ExclusionOfTheRecordBeforeTheRefreshOutlivesIt) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    sandbox.bundles.addBundle(QStringLiteral("Ice.app"), withoutFeed(QStringLiteral("Ice")).xml());
    const QList<Application> first = firstDiscovery(sandbox).applications;
    // Both excluded before the refresh; Maccy is included again during it,
    // as far as the stored exclusions know, and still comes out excluded.
    for (const QString& name : {QStringLiteral("Maccy"), QStringLiteral("Ice")}) {
        sandbox.exclusionService().excludeApplication(named(first, name));
    }
    const QList<Application> excluded = firstDiscovery(sandbox).applications;
    ASSERT_TRUE(named(excluded, QStringLiteral("Maccy")).excluded);
    sandbox.exclusionService().includeApplication(named(excluded, QStringLiteral("Maccy")));
    RecordedProgress progress;

    const QList<Application> merged = refresh(sandbox, progress).applications;

    EXPECT_TRUE(named(merged, QStringLiteral("Maccy")).excluded);
    EXPECT_TRUE(named(merged, QStringLiteral("Ice")).excluded);
    EXPECT_FALSE(named(merged, QStringLiteral("Stats")).excluded);
}

TEST(AppCoordinator, FullRefreshReportsItsStagesAndIsLeftAtOne) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    RecordedProgress progress;

    refresh(sandbox, progress);

    const QList<double>& values = progress.values;
    ASSERT_GE(values.size(), 5);
    EXPECT_EQ(values.mid(0, 2), (QList<double>{0.0, 0.1}));
    EXPECT_EQ(values.mid(values.size() - 2), (QList<double>{0.9, 1.0}));
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
    for (const double value : values.mid(2, values.size() - 4)) {
        EXPECT_GE(value, 0.1);
        EXPECT_LE(value, 0.9);
    }
}

TEST(AppCoordinator, FirstDiscoveryLastReportIsJustUnderOrAtOne) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    QList<double> reports;

    await(
        sandbox.coordinator().performInitialDiscovery([&reports](double fraction) -> QCoro::Task<> {
            reports.append(fraction);
            co_return;
        }));

    ASSERT_FALSE(reports.isEmpty());
    EXPECT_GT(reports.constLast(), 0.9);
    EXPECT_LE(reports.constLast(), 1.0);
}

TEST(AppCoordinator, EarlySearchOfTheKnownListAnswersTheRefreshsOwnSearch) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    firstDiscovery(sandbox);
    // The installed casks are asked for again, slowly, so the early search
    // of the known list starts while the discovery still runs.
    sandbox.outliveCaches();
    fakebrew::CommandBehaviour slowList;
    slowList.delayMilliseconds = 1500;
    sandbox.brew.state.setBehaviour(QStringLiteral("list"), slowList);
    sandbox.brew.capture.clear();
    RecordedProgress progress;

    const DiscoveryOutcome outcome = refresh(sandbox, progress);

    EXPECT_EQ(homebrewSearches(sandbox), 1);
    EXPECT_TRUE(sandbox.brew.capture.contains(LogLevel::info,
                                              QStringLiteral("Using cached Brew update results")));
    EXPECT_EQ(outcome.updates.brewUpdates.size(), 1);
}

TEST(AppCoordinator, FailedRediscoveryLeavesTheListAsItWas) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    const QList<Application> first = firstDiscovery(sandbox).applications;
    ASSERT_TRUE(QDir(sandbox.bundles.root()).removeRecursively());
    RecordedProgress progress;

    EXPECT_ANY_THROW(refresh(sandbox, progress));

    EXPECT_EQ(sandbox.coordinator().currentApplications(), first);
}

TEST(AppCoordinator, FailedUpdateSearchGivesNoListThoughTheApplicationsAreKept) {
    CoordinatorSandbox sandbox;
    layOutMachine(sandbox);
    sandbox.brew.state.setBehaviour(QStringLiteral("outdated"), failing(2));

    EXPECT_THROW(firstDiscovery(sandbox), BrewError);

    EXPECT_EQ(displayNames(sandbox.coordinator().currentApplications()),
              (QStringList{QStringLiteral("Maccy"), QStringLiteral("Rectangle"),
                           QStringLiteral("Stats")}));
}
