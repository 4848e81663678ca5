#include "updates/mas_service.h"

#include "core/logger.h"
#include "core/process_launch_error.h"
#include "core/settings_store.h"
#include "core/system_layout.h"
#include "updates/mas_error.h"

#include "support/await.h"
#include "support/fake_mas_state.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"
#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

using namespace tarnel;
using namespace std::chrono_literals;

namespace {

SystemLayout layoutIn(const QString& root) {
    SystemLayout layout;
    layout.masCandidates = {root + QStringLiteral("/opt/homebrew/bin/mas"),
                            root + QStringLiteral("/usr/local/bin/mas")};
    return layout;
}

qint64 nowMicroseconds() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// The value after <key>key</key> in an XML property list.
QString plistString(const QString& path, const QString& key) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QXmlStreamReader reader(&file);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == QStringLiteral("key") &&
            reader.readElementText() == key) {
            reader.readNextStartElement();
            return reader.readElementText();
        }
    }
    return {};
}

class MASServiceTest : public ::testing::Test {
protected:
    MASServiceTest()
        : settings(directory.path() + QStringLiteral("/settings.json")),
          logger(capture.sink(), settings, directory.path()),
          layout(layoutIn(directory.path())),
          store(directory.path() + QStringLiteral("/store")),
          service(logger, layout, clock) {}

    QString firstCandidate() const { return layout.masCandidates.at(0); }
    QString secondCandidate() const { return layout.masCandidates.at(1); }

    // The tool answering from `store` at the first candidate.
    void installMas() { store.installTool(firstCandidate()); }

    // Application "1", named "One", at version 1.0.
    void installMasWithOneApp() {
        installMas();
        store.addInstalledApp(QStringLiteral("1"), QStringLiteral("One"), QStringLiteral("1.0"));
    }

    // Application "1" at version 1.0, with 2.0 available.
    void installMasWithOneUpdate() {
        installMasWithOneApp();
        store.addUpdate(QStringLiteral("1"), QStringLiteral("2.0"));
    }

    qsizetype runsOf(const QString& command) const {
        qsizetype count = 0;
        for (const FakeMasState::Invocation& invocation : store.invocations()) {
            count += invocation.arguments.value(0) == command ? 1 : 0;
        }
        return count;
    }

    ProgressHandler recordInto(QList<UpdateState>& states) {
        return [&states](UpdateState state) -> QCoro::Task<> {
            states.append(state);
            co_return;
        };
    }

    QTemporaryDir directory;
    LogCapture capture;
    SettingsStore settings;
    Logger logger;
    ManualClock clock;
    SystemLayout layout;
    FakeMasState store;
    MASService service;
};

}  // namespace

TEST_F(MASServiceTest, FindsTheFirstCandidateThatIsAnExecutableFile) {
    store.installTool(firstCandidate());
    store.installTool(secondCandidate());
    EXPECT_EQ(await(service.findMASPath()), firstCandidate());
    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("Found MAS CLI at: %1").arg(firstCandidate())));
}

TEST_F(MASServiceTest, SkipsACandidateThatIsNotExecutable) {
    QDir().mkpath(QFileInfo(firstCandidate()).absolutePath());
    QFile plain(firstCandidate());
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    store.installTool(secondCandidate());
    EXPECT_EQ(await(service.findMASPath()), secondCandidate());
}

TEST_F(MASServiceTest, SkipsADirectoryAtACandidate) {
    ASSERT_TRUE(QDir().mkpath(firstCandidate()));
    store.installTool(secondCandidate());
    EXPECT_EQ(await(service.findMASPath()), secondCandidate());
}

TEST_F(MASServiceTest, RemembersAFoundPathForThirtySeconds) {
    installMas();
    ASSERT_TRUE(await(service.findMASPath()));
    QFile::remove(firstCandidate());
    clock.advance(29);
    EXPECT_EQ(await(service.findMASPath()), firstCandidate());
    clock.advance(1);
    EXPECT_EQ(await(service.findMASPath()), std::nullopt);
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("MAS CLI not found")));
}

TEST_F(MASServiceTest, SearchesAgainWithinThirtySecondsOfAFailedSearch) {
    EXPECT_EQ(await(service.findMASPath()), std::nullopt);
    installMas();
    clock.advance(5);
    EXPECT_EQ(await(service.findMASPath()), firstCandidate());
}

TEST_F(MASServiceTest, ThrowsNotInstalledWhenMasIsMissingAtBothCandidates) {
    try {
        await(service.runMASCommand({QStringLiteral("list")}));
        FAIL() << "expected MASError";
    } catch (const MASError& error) {
        EXPECT_EQ(error.errorCase(), MASError::Case::notInstalled);
        EXPECT_EQ(error.description(),
                  QStringLiteral("MAS CLI not found. Install with: brew install mas"));
    }
}

TEST_F(MASServiceTest, ReturnsTheOutputUntrimmed) {
    installMas();
    store.addInstalledApp(QStringLiteral("123"), QStringLiteral("Some App"),
                          QStringLiteral("15.4"));
    EXPECT_EQ(await(service.runMASCommand({QStringLiteral("list")})),
              QStringLiteral("123 Some App  (15.4)\n"));
}

TEST_F(MASServiceTest, ThrowsCommandFailedWithTheCombinedOutput) {
    installMas();
    store.failCommand(QStringLiteral("list"), 3, QStringLiteral("out text\n"),
                      QStringLiteral("err text\n"));
    try {
        await(service.runMASCommand({QStringLiteral("list")}));
        FAIL() << "expected MASError";
    } catch (const MASError& error) {
        EXPECT_EQ(error.errorCase(), MASError::Case::commandFailed);
        EXPECT_EQ(error.description(), QStringLiteral("MAS command failed: out text\nerr text\n"));
    }
}

TEST_F(MASServiceTest, GivesEmptyTextForOutputThatIsNotUtf8) {
    installMas();
    store.setRawOutput(QStringLiteral("list"), QByteArray("123  Some App  (1.0)\n\xff\xfe\n"));
    EXPECT_EQ(await(service.runMASCommand({QStringLiteral("list")})), QString());
    EXPECT_TRUE(await(service.fetchInstalledMASApps()).isEmpty());
}

TEST_F(MASServiceTest, GivesEmptyTextForOutputEndingInACutCharacter) {
    installMas();
    store.setRawOutput(QStringLiteral("list"), QByteArray("123  Caf\xc3"));
    EXPECT_EQ(await(service.runMASCommand({QStringLiteral("list")})), QString());
}

TEST_F(MASServiceTest, PropagatesALaunchFailureAsItsOwnError) {
    QDir().mkpath(QFileInfo(firstCandidate()).absolutePath());
    QFile notAProgram(firstCandidate());
    ASSERT_TRUE(notAProgram.open(QIODevice::WriteOnly));
    notAProgram.write("\x01\x02\x03 not a program");
    notAProgram.close();
    notAProgram.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_THROW(await(service.runMASCommand({QStringLiteral("list")})), ProcessLaunchError);
}

TEST_F(MASServiceTest, GivesTheToolAnInputThatIsAlreadyAtItsEnd) {
    installMasWithOneApp();
    store.readStandardInput(QStringLiteral("list"));
    // An input left open would keep the tool reading, and this call waiting, for ever.
    EXPECT_EQ(await(service.fetchInstalledMASApps()).size(), 1);
    EXPECT_EQ(runsOf(QStringLiteral("list")), 1);
}

TEST_F(MASServiceTest, RunsQueuedCommandsOneAtATimeWithoutBlockingTheThread) {
    installMasWithOneUpdate();
    store.delayCommand(QStringLiteral("list"), 300ms);
    store.delayCommand(QStringLiteral("outdated"), 300ms);
    QList<qint64> ticks;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ticks.append(nowMicroseconds()); });
    timer.start(10ms);

    auto installed = service.fetchInstalledMASApps();
    auto outdated = service.fetchOutdatedMASApps();
    EXPECT_EQ(await(std::move(installed)).size(), 1);
    EXPECT_EQ(await(std::move(outdated)).size(), 1);
    timer.stop();

    const QList<FakeMasState::Invocation> runs = store.invocations();
    ASSERT_EQ(runs.size(), 2);
    EXPECT_EQ(runs[0].arguments, QStringList{QStringLiteral("list")});
    EXPECT_EQ(runs[1].arguments, QStringList{QStringLiteral("outdated")});
    EXPECT_LE(runs[0].end, runs[1].start);
    for (const FakeMasState::Invocation& run : runs) {
        const auto during = std::count_if(ticks.cbegin(), ticks.cend(), [&](qint64 tick) {
            return tick > run.start && tick < run.end;
        });
        EXPECT_GE(during, 2) << run.arguments.join(u' ').toStdString();
    }
}

TEST_F(MASServiceTest, ReadsTheRecordedListOutputThroughTheTool) {
    installMas();
    QFile recorded(fixturesDir() + QStringLiteral("/commands/mas-list-readme.txt"));
    ASSERT_TRUE(recorded.open(QIODevice::ReadOnly));
    store.setRawOutput(QStringLiteral("list"), recorded.readAll().split('\n').mid(2).join('\n'));
    const QList<MASApp> apps = await(service.fetchInstalledMASApps());
    ASSERT_EQ(apps.size(), 3);
    EXPECT_EQ(apps[2], (MASApp{QStringLiteral("899247664"), QStringLiteral("TestFlight"),
                               QStringLiteral("3.5.2")}));
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Found 3 MAS apps")));
}

TEST_F(MASServiceTest, AnswersInstalledAppsFromTheCacheForFiveMinutes) {
    installMasWithOneApp();
    const QList<MASApp> first = await(service.fetchInstalledMASApps());
    clock.advance(299);
    EXPECT_EQ(await(service.fetchInstalledMASApps()), first);
    EXPECT_EQ(runsOf(QStringLiteral("list")), 1);
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Found 1 MAS apps")));
}

TEST_F(MASServiceTest, AsksAgainForInstalledAppsAfterFiveMinutes) {
    installMasWithOneApp();
    await(service.fetchInstalledMASApps());
    clock.advance(300);
    await(service.fetchInstalledMASApps());
    EXPECT_EQ(runsOf(QStringLiteral("list")), 2);
}

TEST_F(MASServiceTest, RunsListAgainAfterAnEmptyAnswer) {
    installMas();
    EXPECT_TRUE(await(service.fetchInstalledMASApps()).isEmpty());
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Found 0 MAS apps")));
    EXPECT_TRUE(await(service.fetchInstalledMASApps()).isEmpty());
    EXPECT_EQ(runsOf(QStringLiteral("list")), 2);
}

TEST_F(MASServiceTest, KeepsTheInstalledTimeStampWhenListFails) {
    installMasWithOneApp();
    await(service.fetchInstalledMASApps());
    clock.advance(301);
    store.failCommand(QStringLiteral("list"), 1, QStringLiteral("offline\n"), QString());
    EXPECT_THROW(await(service.fetchInstalledMASApps()), MASError);
    store.resetCommand(QStringLiteral("list"));
    store.addInstalledApp(QStringLiteral("2"), QStringLiteral("Two"), QStringLiteral("2.0"));
    // A failure that had renewed the time stamp would answer from the old cache here.
    EXPECT_EQ(await(service.fetchInstalledMASApps()).size(), 2);
}

TEST_F(MASServiceTest, ReturnsUpdatesInTheOrderOfTheLines) {
    installMas();
    store.setRawLines(QStringLiteral("outdated"),
                      {QStringLiteral("9  Nine  (1 -> 2)"), QStringLiteral("Some unrelated notice"),
                       QStringLiteral("3  Three  (4 -> 5)")});
    const QList<MASUpdate> updates = await(service.fetchOutdatedMASApps());
    ASSERT_EQ(updates.size(), 2);
    EXPECT_EQ(updates[0].appId, QStringLiteral("9"));
    EXPECT_EQ(updates[1].appId, QStringLiteral("3"));
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Found 2 MAS updates")));
}

TEST_F(MASServiceTest, AnswersUpdatesFromTheCacheForTenMinutes) {
    installMasWithOneUpdate();
    const QList<MASUpdate> first = await(service.fetchOutdatedMASApps());
    clock.advance(599);
    EXPECT_EQ(await(service.fetchOutdatedMASApps()), first);
    EXPECT_EQ(runsOf(QStringLiteral("outdated")), 1);
}

TEST_F(MASServiceTest, AsksAgainForUpdatesAfterTenMinutes) {
    installMasWithOneUpdate();
    await(service.fetchOutdatedMASApps());
    clock.advance(600);
    await(service.fetchOutdatedMASApps());
    EXPECT_EQ(runsOf(QStringLiteral("outdated")), 2);
}

TEST_F(MASServiceTest, RunsOutdatedAgainAfterAnEmptyAnswer) {
    installMas();
    EXPECT_TRUE(await(service.fetchOutdatedMASApps()).isEmpty());
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Found 0 MAS updates")));
    EXPECT_TRUE(await(service.fetchOutdatedMASApps()).isEmpty());
    EXPECT_EQ(runsOf(QStringLiteral("outdated")), 2);
}

TEST_F(MASServiceTest, KeepsTheUpdatesTimeStampWhenOutdatedFails) {
    installMasWithOneUpdate();
    await(service.fetchOutdatedMASApps());
    clock.advance(601);
    store.failCommand(QStringLiteral("outdated"), 1, QStringLiteral("offline\n"), QString());
    EXPECT_THROW(await(service.fetchOutdatedMASApps()), MASError);
    store.resetCommand(QStringLiteral("outdated"));
    store.addInstalledApp(QStringLiteral("2"), QStringLiteral("Two"), QStringLiteral("1.0"));
    store.addUpdate(QStringLiteral("2"), QStringLiteral("3.0"));
    EXPECT_EQ(await(service.fetchOutdatedMASApps()).size(), 2);
}

TEST_F(MASServiceTest, ReportsInstallingThenCompletedForASuccessfulUpgrade) {
    installMasWithOneUpdate();
    QList<UpdateState> states;
    await(service.upgradeMASApp(QStringLiteral("1"), recordInto(states)));
    EXPECT_EQ(states, (QList<UpdateState>{UpdateState::installing(), UpdateState::completed()}));
    EXPECT_EQ(store.invocations().last().arguments,
              (QStringList{QStringLiteral("upgrade"), QStringLiteral("1")}));
    EXPECT_TRUE(
        capture.contains(LogLevel::info, QStringLiteral("Successfully updated MAS app 1: "
                                                        "Upgrading 1 outdated application:\n"
                                                        "One (1.0) -> (2.0)\n"
                                                        "==> Downloading One\n"
                                                        "==> Installed One\n")));
}

TEST_F(MASServiceTest, ChecksAgainAtOnceAfterASuccessfulUpgrade) {
    installMasWithOneUpdate();
    await(service.fetchInstalledMASApps());
    EXPECT_EQ(await(service.fetchOutdatedMASApps()).size(), 1);
    await(service.upgradeMASApp(QStringLiteral("1")));
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Cleared MAS caches")));
    EXPECT_TRUE(await(service.fetchOutdatedMASApps()).isEmpty());
    EXPECT_EQ(runsOf(QStringLiteral("outdated")), 2);
    EXPECT_EQ(await(service.fetchInstalledMASApps()).first().version, QStringLiteral("2.0"));
    EXPECT_EQ(runsOf(QStringLiteral("list")), 2);
}

TEST_F(MASServiceTest, UpgradeMovesTheBundleToTheNewVersion) {
    installMas();
    const QString bundle = directory.path() + QStringLiteral("/Applications/Rectangle.app");
    const QString plist = bundle + QStringLiteral("/Contents/Info.plist");
    QDir().mkpath(bundle + QStringLiteral("/Contents"));
    ASSERT_TRUE(QFile::copy(
        fixturesDir() + QStringLiteral("/bundles/Rectangle.app/Contents/Info.plist"), plist));
    store.addInstalledApp(QStringLiteral("7"), QStringLiteral("Rectangle"), QStringLiteral("0.85"),
                          bundle);
    store.addUpdate(QStringLiteral("7"), QStringLiteral("0.86"));
    await(service.upgradeMASApp(QStringLiteral("7")));
    EXPECT_EQ(plistString(plist, QStringLiteral("CFBundleShortVersionString")),
              QStringLiteral("0.86"));
    EXPECT_EQ(plistString(plist, QStringLiteral("CFBundleVersion")), QStringLiteral("95"));
}

TEST_F(MASServiceTest, ReportsAnErrorAndKeepsTheCachesWhenTheUpgradeFails) {
    installMasWithOneUpdate();
    store.failCommand(QStringLiteral("upgrade"), 1, QString(), QStringLiteral("not signed in\n"));
    await(service.fetchOutdatedMASApps());
    QList<UpdateState> states;
    try {
        await(service.upgradeMASApp(QStringLiteral("1"), recordInto(states)));
        FAIL() << "expected MASError";
    } catch (const MASError& error) {
        EXPECT_EQ(error.errorCase(), MASError::Case::commandFailed);
        EXPECT_EQ(error.commandOutput(), QStringLiteral("not signed in\n"));
    }
    EXPECT_EQ(states, (QList<UpdateState>{UpdateState::installing(),
                                          UpdateState::error(QStringLiteral("Update failed"))}));
    EXPECT_FALSE(capture.containsText(QStringLiteral("Cleared MAS caches")));
    EXPECT_EQ(await(service.fetchOutdatedMASApps()).size(), 1);
    EXPECT_EQ(runsOf(QStringLiteral("outdated")), 1);
}

TEST_F(MASServiceTest, ReportsAnErrorWhenMasIsMissingDuringAnUpgrade) {
    QList<UpdateState> states;
    try {
        await(service.upgradeMASApp(QStringLiteral("1"), recordInto(states)));
        FAIL() << "expected MASError";
    } catch (const MASError& error) {
        EXPECT_EQ(error.errorCase(), MASError::Case::notInstalled);
    }
    EXPECT_EQ(states, (QList<UpdateState>{UpdateState::installing(),
                                          UpdateState::error(QStringLiteral("Update failed"))}));
}

TEST_F(MASServiceTest, ClearingTheCachesKeepsThePath) {
    installMasWithOneApp();
    await(service.fetchInstalledMASApps());
    await(service.clearMASCaches());
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Cleared MAS caches")));
    await(service.fetchInstalledMASApps());
    EXPECT_EQ(runsOf(QStringLiteral("list")), 2);
    const QStringList found = capture.lines().filter(QStringLiteral("Found MAS CLI at:"));
    EXPECT_EQ(found.size(), 1);
}

TEST_F(MASServiceTest, ClearingDuringACommandWaitsUntilItsResultIsStored) {
    installMasWithOneApp();
    store.holdCommand(QStringLiteral("list"));
    auto listing = service.fetchInstalledMASApps();
    auto clearing = service.clearMASCaches();
    EXPECT_FALSE(capture.containsText(QStringLiteral("Cleared MAS caches")));
    store.releaseCommand(QStringLiteral("list"));
    await(std::move(listing));
    await(std::move(clearing));

    const QStringList lines = capture.lines();
    const qsizetype stored = lines.indexOf(QStringLiteral("[INFO] Found 1 MAS apps"));
    EXPECT_GE(stored, 0);
    EXPECT_LT(stored, lines.indexOf(QStringLiteral("[INFO] Cleared MAS caches")));
    // Had the list been stored after the clearing, this would answer from it.
    await(service.fetchInstalledMASApps());
    EXPECT_EQ(runsOf(QStringLiteral("list")), 2);
}
