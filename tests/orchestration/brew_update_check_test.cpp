#include "update_sandbox.h"

#include "homebrew/brew_error.h"

#include "support/await.h"
#include "support/test_paths.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

const QString outdatedCommand = QStringLiteral("outdated");

// One cask entry as `brew outdated --json` reports it.
QJsonObject outdatedEntry(const QString& name, const QStringList& installedVersions,
                          const QString& currentVersion) {
    return {{QStringLiteral("name"), name},
            {QStringLiteral("installed_versions"), QJsonArray::fromStringList(installedVersions)},
            {QStringLiteral("current_version"), currentVersion}};
}

QByteArray outdatedReport(const QJsonArray& casks) {
    return QJsonDocument(QJsonObject{{QStringLiteral("formulae"), QJsonArray()},
                                     {QStringLiteral("casks"), casks}})
        .toJson(QJsonDocument::Compact);
}

// The JSON of a shared `brew outdated` recording, without its first line,
// which tells where it comes from.
QByteArray recordedOutdatedOutput(const QString& name) {
    QFile file(fixturesDir() + QStringLiteral("/commands/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    const QByteArray contents = file.readAll();
    EXPECT_TRUE(contents.startsWith("# ")) << name.toStdString();
    return contents.mid(contents.indexOf('\n') + 1);
}

QStringList caskNames(const QList<BrewUpdate>& updates) {
    QStringList names;
    for (const BrewUpdate& update : updates) {
        names.append(update.caskName);
    }
    return names;
}

class BrewUpdateCheck : public ::testing::Test {
protected:
    QList<BrewUpdate> check(const QList<Application>& applications,
                            bool hasAdminPermission = false) {
        return await(sandbox.updateService().checkBrewUpdates(applications, hasAdminPermission));
    }

    // `brew outdated` answers with these bytes from now on.
    void answerOutdated(const QByteArray& output, int exitStatus = 1) {
        sandbox.brew.state.setBehaviour(
            outdatedCommand, FakeBrewBehaviour{.exitStatus = exitStatus, .standardOutput = output});
    }

    // `brew outdated` does its usual work again.
    void restoreOutdated() {
        sandbox.brew.state.setBehaviour(outdatedCommand, FakeBrewBehaviour());
    }

    // Whether `tool`, reported at these versions, has no update, and the
    // check says why.
    testing::AssertionResult findsNoNewerVersion(const QString& installed, const QString& current) {
        answerOutdated(
            outdatedReport({outdatedEntry(QStringLiteral("tool"), {installed}, current)}));
        if (const QList<BrewUpdate> updates = check({tool}); !updates.isEmpty()) {
            return testing::AssertionFailure()
                   << "an update to " << updates.first().availableVersion.toStdString();
        }
        if (!sandbox.brew.capture.contains(
                LogLevel::info,
                QStringLiteral(
                    "Skipping cask update for tool: versions are the same or not newer"))) {
            return testing::AssertionFailure() << "no line tells why";
        }
        return testing::AssertionSuccess();
    }

    qsizetype outdatedRuns() const {
        return sandbox.brew.state.invocationsOf(outdatedCommand).size();
    }

    // Primes the cache with the update of `tool`, then lets it age past its life.
    void cacheAnUpdateAndOutliveIt() {
        ASSERT_EQ(check({tool}).size(), 1);
        sandbox.brew.clock.advance(1801);
    }

    UpdateSandbox sandbox;
    // Managed by cask "tool": 1.0 installed, 2.0 in the catalogue.
    Application tool = sandbox.addCaskApplication(QStringLiteral("Tool"), QStringLiteral("tool"),
                                                  QStringLiteral("1.0"), QStringLiteral("2.0"));
};

}  // namespace

TEST_F(BrewUpdateCheck, FindsTheOutdatedCaskOfAManagedApplication) {
    const QList<BrewUpdate> updates = check({tool});

    ASSERT_EQ(updates.size(), 1);
    const BrewUpdate& update = updates.first();
    EXPECT_EQ(update.id, tool.id + QStringLiteral("_2.0"));
    EXPECT_EQ(update.applicationId, tool.id);
    EXPECT_EQ(update.bundleIdentifier, tool.bundleIdentifier);
    EXPECT_EQ(update.caskName, QStringLiteral("tool"));
    EXPECT_EQ(update.currentVersion, QStringLiteral("1.0"));
    EXPECT_EQ(update.availableVersion, QStringLiteral("2.0"));
    EXPECT_EQ(update.updateType, BrewUpdate::UpdateType::caskUpdate);
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("Checking for Brew updates...")),
                                 infoLine(QStringLiteral("Checking updates for 1 Brew-managed "
                                                         "applications"))}));
}

TEST_F(BrewUpdateCheck, AsksBrewForEveryOutdatedCaskWithoutAdministratorRights) {
    check({tool});

    const QList<FakeBrewInvocation> runs = sandbox.brew.state.invocationsOf(outdatedCommand);
    ASSERT_EQ(runs.size(), 1);
    EXPECT_EQ(runs.first().arguments,
              (QStringList{QStringLiteral("outdated"), QStringLiteral("--cask"),
                           QStringLiteral("--greedy"), QStringLiteral("--json")}));
    EXPECT_FALSE(runs.first().environment.value(QStringLiteral("SUDO_ASKPASS")).has_value());
}

TEST_F(BrewUpdateCheck, WithThePermissionAReportingListingStillRunsOnce) {
    // The whole listing ends with status 0 whatever it reports, so the
    // permission never costs a second run.
    const QList<BrewUpdate> updates = check({tool}, true);

    EXPECT_EQ(caskNames(updates), QStringList{QStringLiteral("tool")});
    const QList<FakeBrewInvocation> runs = sandbox.brew.state.invocationsOf(outdatedCommand);
    ASSERT_EQ(runs.size(), 1);
    EXPECT_FALSE(runs.first().environment.value(QStringLiteral("SUDO_ASKPASS")).has_value());
}

TEST_F(BrewUpdateCheck, AnAnswerIsKeptForLessThan1800Seconds) {
    const QList<BrewUpdate> first = check({tool});
    sandbox.brew.clock.advance(1799);

    EXPECT_EQ(check({tool}), first);
    EXPECT_EQ(outdatedRuns(), 1);
    EXPECT_EQ(sandbox.logCount(infoLine(QStringLiteral("Using cached Brew update results"))), 1);
}

TEST_F(BrewUpdateCheck, AnAnswerOf1800SecondsAgoIsAskedForAgain) {
    check({tool});
    sandbox.brew.clock.advance(1800);

    check({tool});

    EXPECT_EQ(outdatedRuns(), 2);
}

TEST_F(BrewUpdateCheck, ACheckWithin1800SecondsOfOneThatFoundNothingRunsNoBrew) {
    sandbox.installCask(QStringLiteral("tool"), QStringLiteral("2.0"));
    ASSERT_TRUE(check({tool}).isEmpty());
    ASSERT_TRUE(sandbox.brew.capture.contains(LogLevel::info,
                                              QStringLiteral("No outdated casks in JSON result")));
    sandbox.installCask(QStringLiteral("tool"), QStringLiteral("1.0"));
    sandbox.brew.clock.advance(1799);

    EXPECT_TRUE(check({tool}).isEmpty());
    EXPECT_EQ(outdatedRuns(), 1);
}

TEST_F(BrewUpdateCheck, ApplicationsThatHomebrewDoesNotManageRunNoBrew) {
    Application handInstalled = sandbox.addApplication(QStringLiteral("Loose"), {"1.0", "1"});
    Application suggestedOnly = tool;
    suggestedOnly.alreadyAdopted = false;

    EXPECT_TRUE(check({handInstalled, suggestedOnly}).isEmpty());
    EXPECT_TRUE(check({tool}).isEmpty());

    EXPECT_EQ(outdatedRuns(), 0);
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("No Brew-managed applications found")),
                                 infoLine(QStringLiteral("Using cached Brew update results"))}));
}

TEST_F(BrewUpdateCheck, UpdatesComeInTheOrderOfTheReport) {
    const Application alpha =
        sandbox.addCaskApplication(QStringLiteral("Alpha"), QStringLiteral("alpha"),
                                   QStringLiteral("1.0"), QStringLiteral("2.0"));
    answerOutdated(outdatedReport({outdatedEntry(QStringLiteral("tool"), {"1.0"}, "2.0"),
                                   outdatedEntry(QStringLiteral("alpha"), {"1.0"}, "2.0")}));

    EXPECT_EQ(caskNames(check({alpha, tool})),
              (QStringList{QStringLiteral("tool"), QStringLiteral("alpha")}));
}

TEST_F(BrewUpdateCheck, AnEmptyArrayIsNotParsed) {
    answerOutdated("[]\n", 0);

    EXPECT_TRUE(check({tool}).isEmpty());

    EXPECT_TRUE(
        sandbox.brew.capture.contains(LogLevel::info, QStringLiteral("No outdated casks found")));
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("in JSON result")));
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("JSON parsing")));
}

TEST_F(BrewUpdateCheck, AnObjectWithAnEmptyCasksArrayFindsNothingAndIsKept) {
    answerOutdated(R"({"casks": []})", 0);

    EXPECT_TRUE(check({tool}).isEmpty());
    EXPECT_TRUE(check({tool}).isEmpty());

    EXPECT_EQ(outdatedRuns(), 1);
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("No outdated casks in JSON result")),
                                 infoLine(QStringLiteral("Using cached Brew update results"))}));
}

TEST_F(BrewUpdateCheck, AnObjectWithoutACasksArrayWarnsWithItsKeysAndFindsNothing) {
    answerOutdated(R"({"formulae": [], "version": 2})", 0);

    EXPECT_TRUE(check({tool}).isEmpty());

    const QStringList lines = sandbox.logLines();
    const QString warningStart =
        warningLine(QStringLiteral("Root object exists but no 'casks' array found. Keys: "));
    const auto warning = std::find_if(lines.begin(), lines.end(), [&](const QString& line) {
        return line.startsWith(warningStart);
    });
    ASSERT_NE(warning, lines.end()) << lines.join(u'\n').toStdString();
    EXPECT_TRUE(warning->contains(QStringLiteral("formulae")));
    EXPECT_TRUE(warning->contains(QStringLiteral("version")));
    EXPECT_TRUE(containsInOrder(QStringList(warning, lines.end()),
                                {infoLine(QStringLiteral("No outdated casks in JSON result"))}));
}

TEST_F(BrewUpdateCheck, ABareArrayOfCasksIsReadLikeTheObjectForm) {
    answerOutdated(
        QJsonDocument(QJsonArray{outdatedEntry(QStringLiteral("tool"), {"1.0"}, "2.0")}).toJson());

    const QList<BrewUpdate> updates = check({tool});

    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates.first().currentVersion, QStringLiteral("1.0"));
    EXPECT_EQ(updates.first().availableVersion, QStringLiteral("2.0"));
}

TEST_F(BrewUpdateCheck, TheFirstOfSeveralInstalledVersionsCounts) {
    const Application other =
        sandbox.addCaskApplication(QStringLiteral("Other"), QStringLiteral("other"),
                                   QStringLiteral("3.0"), QStringLiteral("2.0"));
    answerOutdated(outdatedReport({outdatedEntry(QStringLiteral("tool"), {"1.0", "3.0"}, "2.0"),
                                   outdatedEntry(QStringLiteral("other"), {"3.0", "1.0"}, "2.0")}));

    const QList<BrewUpdate> updates = check({tool, other});

    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates.first().caskName, QStringLiteral("tool"));
    EXPECT_EQ(updates.first().currentVersion, QStringLiteral("1.0"));
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info,
        QStringLiteral("Skipping cask update for other: versions are the same or not newer")));
}

TEST_F(BrewUpdateCheck, AnEmptyInstalledVersionsListHidesASingleInstalledVersion) {
    answerOutdated(
        R"({"casks": [{"name": "tool", "installed_versions": [], "installed_version": "1.0",)"
        R"( "current_version": "2.0"}]})");

    EXPECT_TRUE(check({tool}).isEmpty());

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("Cask 'tool' missing version information, skipping")));
}

TEST_F(BrewUpdateCheck, FieldsOfAnotherTypeGiveWayToTheirAlternatives) {
    answerOutdated(
        R"({"casks": [{"name": "tool", "installed_versions": "0.5", "installed_version": "1.0",)"
        R"( "current_version": 3, "latest_version": "2.0"}]})");

    const QList<BrewUpdate> updates = check({tool});

    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates.first().currentVersion, QStringLiteral("1.0"));
    EXPECT_EQ(updates.first().availableVersion, QStringLiteral("2.0"));
    EXPECT_EQ(updates.first().id, tool.id + QStringLiteral("_2.0"));
}

TEST_F(BrewUpdateCheck, AnEntryWithoutALatestVersionIsSkippedAndTheOthersStand) {
    const Application other =
        sandbox.addCaskApplication(QStringLiteral("Other"), QStringLiteral("other"),
                                   QStringLiteral("1.0"), QStringLiteral("2.0"));
    answerOutdated(
        R"({"casks": [{"name": "tool", "installed_versions": ["1.0"]},)"
        R"( {"name": "other", "installed_versions": ["1.0"], "current_version": "2.0"}]})");

    EXPECT_EQ(caskNames(check({tool, other})), QStringList{QStringLiteral("other")});
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("Cask 'tool' missing version information, skipping")));
}

TEST_F(BrewUpdateCheck, AnEntryWithoutATextNameIsSkippedAndTheOthersStand) {
    answerOutdated(
        R"({"casks": [{"installed_versions": ["1.0"], "current_version": "2.0"},)"
        R"( {"name": 7, "installed_versions": ["1.0"], "current_version": "2.0"},)"
        R"( {"name": "tool", "installed_versions": ["1.0"], "current_version": "2.0"}]})");

    EXPECT_EQ(caskNames(check({tool})), QStringList{QStringLiteral("tool")});
    EXPECT_EQ(sandbox.logCount(warningLine(QStringLiteral("Cask missing 'name' field, skipping"))),
              2);
}

TEST_F(BrewUpdateCheck, ThePartAfterACommaTakesNoPartInTheOrder) {
    EXPECT_TRUE(findsNoNewerVersion(QStringLiteral("1.2.3,4500"), QStringLiteral("1.2.3,4567")));
}

TEST_F(BrewUpdateCheck, LatestInstalledWithLatestCurrentIsNoUpdate) {
    EXPECT_TRUE(findsNoNewerVersion(QStringLiteral("latest"), QStringLiteral("latest")));
}

TEST_F(BrewUpdateCheck, AVersionAgainstALatestWithoutNumbersIsNoUpdate) {
    EXPECT_TRUE(findsNoNewerVersion(QStringLiteral("1.0"), QStringLiteral("latest")));
}

TEST_F(BrewUpdateCheck, OfTwoApplicationsAdoptedToOneCaskOnlyTheFirstGetsTheUpdate) {
    Application copy = sandbox.addApplication(QStringLiteral("Tool Copy"), {"1.0", "1.0"});
    UpdateSandbox::adopt(copy, QStringLiteral("tool"));

    const QList<BrewUpdate> updates = check({copy, tool});

    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates.first().applicationId, copy.id);
}

TEST_F(BrewUpdateCheck, CasksThatNoApplicationTracksAreLeftOutSilently) {
    // Status 0, so that the runner does not log the output itself.
    answerOutdated(outdatedReport({outdatedEntry(QStringLiteral("stranger"), {"1.0"}, "2.0"),
                                   outdatedEntry(QStringLiteral("tool"), {"1.0"}, "2.0")}),
                   0);

    EXPECT_EQ(caskNames(check({tool})), QStringList{QStringLiteral("tool")});
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("stranger")));
}

TEST_F(BrewUpdateCheck, ACaskNameMatchesOnlyLetterForLetter) {
    answerOutdated(outdatedReport({outdatedEntry(QStringLiteral("Tool"), {"1.0"}, "2.0")}));

    EXPECT_TRUE(check({tool}).isEmpty());
}

TEST_F(BrewUpdateCheck, ANullRootWithNothingCachedFailsAndIsAskedForAgain) {
    answerOutdated("null", 0);

    EXPECT_ANY_THROW(check({tool}));

    const QStringList lines = sandbox.logLines();
    ASSERT_TRUE(std::any_of(lines.begin(), lines.end(), [](const QString& line) {
        return line.startsWith(errorLine(QStringLiteral("JSON parsing error: ")));
    })) << lines.join(u'\n').toStdString();
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("JSON parsing failed and no cached data available, will "
                                          "retry on next request")));
    restoreOutdated();
    EXPECT_EQ(caskNames(check({tool})), QStringList{QStringLiteral("tool")});
    EXPECT_EQ(outdatedRuns(), 2);
}

TEST_F(BrewUpdateCheck, AStringRootWithNothingCachedFails) {
    answerOutdated(R"("casks")", 0);

    EXPECT_ANY_THROW(check({tool}));

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("JSON parsing failed and no cached data available, will "
                                          "retry on next request")));
}

TEST_F(BrewUpdateCheck, ANumberRootFallsBackToTheCachedUpdates) {
    cacheAnUpdateAndOutliveIt();
    answerOutdated("42", 0);

    EXPECT_EQ(caskNames(check({tool})), QStringList{QStringLiteral("tool")});

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info,
        QStringLiteral("JSON parsing failed, using cached update data (1 updates)")));
}

TEST_F(BrewUpdateCheck, AFallBackLeavesTheTimeStampSoTheNextCheckRunsBrew) {
    cacheAnUpdateAndOutliveIt();
    answerOutdated("42", 0);
    check({tool});
    restoreOutdated();

    check({tool});

    EXPECT_EQ(outdatedRuns(), 3);
}

TEST_F(BrewUpdateCheck, AnArrayOfOtherThanObjectsIsAnUnexpectedStructure) {
    answerOutdated("[1, 2]", 0);

    try {
        check({tool});
        ADD_FAILURE() << "the check did not fail";
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
        EXPECT_EQ(error.output(), QStringLiteral("Unexpected JSON structure from brew outdated"));
        EXPECT_FALSE(error.standardError().has_value());
    }
    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {errorLine(QStringLiteral("Unexpected JSON structure - not an object or array")),
         errorLine(QStringLiteral("JSON parsing error: Homebrew command failed: Unexpected JSON "
                                  "structure from brew outdated")),
         warningLine(QStringLiteral("JSON parsing failed and no cached data available, will "
                                    "retry on next request"))}));
}

TEST_F(BrewUpdateCheck, AFailingBrewIsThrownEvenWithUpdatesCached) {
    cacheAnUpdateAndOutliveIt();
    answerOutdated("", 2);

    EXPECT_THROW(check({tool}), BrewError);
    restoreOutdated();
    check({tool});

    EXPECT_EQ(outdatedRuns(), 3);
}

TEST_F(BrewUpdateCheck, OutputThatIsNotUtf8CountsAsNoOutdatedCasks) {
    answerOutdated("\xff\xfe{\"casks\": []}\x80");

    EXPECT_TRUE(check({tool}).isEmpty());
    EXPECT_TRUE(check({tool}).isEmpty());

    EXPECT_EQ(outdatedRuns(), 1);
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("No outdated casks found")),
                                 infoLine(QStringLiteral("Using cached Brew update results"))}));
}

TEST_F(BrewUpdateCheck, MegabytesOfOutputThatAreNoJsonFallBackToTheCache) {
    cacheAnUpdateAndOutliveIt();
    sandbox.brew.state.setBehaviour(
        outdatedCommand,
        FakeBrewBehaviour{
            .exitStatus = 1, .standardOutput = outdatedReport({}), .outputMegabytes = 4});

    EXPECT_EQ(caskNames(check({tool})), QStringList{QStringLiteral("tool")});

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info,
        QStringLiteral("JSON parsing failed, using cached update data (1 updates)")));
}

TEST_F(BrewUpdateCheck, AReportOfSeveralMegabytesIsReadWhole) {
    QJsonArray entries;
    for (int index = 0; index < 30000; ++index) {
        entries.append(
            outdatedEntry(QStringLiteral("untracked-cask-%1").arg(index), {"1.0.0"}, "1.0.1"));
    }
    entries.append(outdatedEntry(QStringLiteral("tool"), {"1.0"}, "2.0"));
    const QByteArray report = outdatedReport(entries);
    ASSERT_GT(report.size(), 2 * 1024 * 1024);
    answerOutdated(report);

    EXPECT_EQ(caskNames(check({tool})), QStringList{QStringLiteral("tool")});
}

TEST_F(BrewUpdateCheck, TheRecordedUpToDateReportFindsNothing) {
    answerOutdated(recordedOutdatedOutput(QStringLiteral("brew-outdated-json-v2-empty.txt")), 0);

    EXPECT_TRUE(check({tool}).isEmpty());

    EXPECT_TRUE(sandbox.brew.capture.contains(LogLevel::info,
                                              QStringLiteral("No outdated casks in JSON result")));
}

TEST_F(BrewUpdateCheck, TheRecordedReportWithFormulaeReadsOnlyItsCasks) {
    const Application font =
        sandbox.addCaskApplication(QStringLiteral("Font"), QStringLiteral("font-hack-nerd-font"),
                                   QStringLiteral("3.4.0"), QStringLiteral("3.5.0"));
    // A cask that shares its token with a formula in the report.
    const Application binutils =
        sandbox.addCaskApplication(QStringLiteral("Binutils"), QStringLiteral("binutils"),
                                   QStringLiteral("2.46.1"), QStringLiteral("2.47"));
    answerOutdated(
        recordedOutdatedOutput(QStringLiteral("brew-outdated-json-v2-formulae-and-cask.txt")));

    const QList<BrewUpdate> updates = check({font, binutils});

    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates.first().caskName, QStringLiteral("font-hack-nerd-font"));
    EXPECT_EQ(updates.first().currentVersion, QStringLiteral("3.4.0"));
    EXPECT_EQ(updates.first().availableVersion, QStringLiteral("3.5.0"));
}

TEST_F(BrewUpdateCheck, TheRecordedReportWithATextInstalledVersionSkipsThatCask) {
    const Application firefox =
        sandbox.addCaskApplication(QStringLiteral("Firefox"), QStringLiteral("firefox"),
                                   QStringLiteral("125.0.1"), QStringLiteral("126.0"));
    const Application iterm =
        sandbox.addCaskApplication(QStringLiteral("iTerm"), QStringLiteral("iterm2"),
                                   QStringLiteral("3.5.1"), QStringLiteral("3.5.2"));
    answerOutdated(recordedOutdatedOutput(
        QStringLiteral("brew-outdated-json-v2-fixture-mixed-cask-installed_versions-types.txt")));

    const QList<BrewUpdate> updates = check({firefox, iterm});

    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates.first().caskName, QStringLiteral("iterm2"));
    EXPECT_EQ(updates.first().currentVersion, QStringLiteral("3.5.1"));
    EXPECT_EQ(updates.first().availableVersion, QStringLiteral("3.5.2"));
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("Cask 'firefox' missing version information, skipping")));
}

TEST_F(BrewUpdateCheck, TheRecordedGreedyReportOfALatestCaskFindsNothing) {
    const Application nightly =
        sandbox.addCaskApplication(QStringLiteral("WezTerm"), QStringLiteral("wezterm@nightly"),
                                   QStringLiteral("latest"), QStringLiteral("latest"));
    answerOutdated(
        recordedOutdatedOutput(QStringLiteral("brew-outdated-json-v2-greedy-latest-fixture.txt")));

    EXPECT_TRUE(check({nightly}).isEmpty());

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning,
        QStringLiteral("Cask 'wezterm@nightly' missing version information, skipping")));
}

TEST_F(BrewUpdateCheck, TheRecordedReportOnThreeLinesIsReadWhole) {
    const Application firefox =
        sandbox.addCaskApplication(QStringLiteral("Firefox"), QStringLiteral("firefox"),
                                   QStringLiteral("122.0"), QStringLiteral("123.0"));
    answerOutdated(recordedOutdatedOutput(
        QStringLiteral("brew-outdated-json-v2-multiple-installed-versions-fixture.txt")));

    EXPECT_TRUE(check({firefox}).isEmpty());

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("Cask 'firefox' missing version information, skipping")));
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("JSON parsing error")));
}
