#include "homebrew/cask_matcher.h"

#include "cask_samples.h"
#include "catalogue_data.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "homebrew/cask_index.h"
#include "homebrew/cask_match_score.h"
#include "support/log_capture.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace tarnel;
using namespace Qt::StringLiterals;

namespace {

const QString home = u"/Users/tester"_s;
const CaskLocations places{u"/Applications"_s, home};

Application application(const QString& name, const QString& bundlePath,
                        const QString& displayName = {}) {
    Application result;
    result.id = name + u"-id"_s;
    result.name = name;
    result.displayName = displayName.isEmpty() ? name : displayName;
    result.bundlePath = bundlePath;
    return result;
}

// The usual case: a bundle in /Applications named as it is shown.
Application installedApplication(const QString& name) {
    return application(name, u"/Applications/"_s + name + u".app"_s);
}

Cask cask(const QString& token, const QStringList& appPaths = {},
          const QStringList& uninstallPaths = {}, const QStringList& officialNames = {}) {
    return sampleCask(token, appPaths, uninstallPaths, officialNames);
}

QList<double> confidencesOf(const QList<Cask>& casks) {
    QList<double> confidences;
    for (const Cask& entry : casks) {
        confidences.append(entry.confidence);
    }
    return confidences;
}

// Ranks casks made from tokens with the given scores, in that order.
QList<Cask> rankTokens(const QList<std::pair<QString, double>>& scores) {
    QList<Cask> casks;
    for (const auto& [token, score] : scores) {
        casks.append(cask(token));
    }
    QList<ScoredCask> kept;
    for (qsizetype position = 0; position < casks.size(); ++position) {
        kept.append({&casks[position], scores[position].second});
    }
    return rankCaskOptions(kept);
}

// The full catalogue is parsed once for all tests that read it.
const CaskIndex& sharedIndex() {
    static const std::shared_ptr<const CaskIndex> index = catalogueIndex();
    return *index;
}

const Cask& sharedCatalogueCask(const QString& token) {
    const Cask* found = sharedIndex().firstCaskWithToken(token);
    if (found == nullptr) {
        throw std::runtime_error("no such cask: " + token.toStdString());
    }
    return *found;
}

double score(const Application& subject, const Cask& candidate) {
    return matchConfidence(subject, candidate, places);
}

class CaskMatching : public ::testing::Test {
protected:
    QList<Cask> options(const Application& subject, const CaskIndex& index) {
        return findCaskOptions(subject, index, places, logger);
    }

    QTemporaryDir directory;
    SettingsStore settings{directory.path() + u"/settings.json"_s};
    LogCapture capture;
    Logger logger{capture.sink(), settings, directory.path()};
};

}  // namespace

// The score, test by test.

TEST(MatchConfidence, BundlePathAmongUninstallPathsScoresFullyEvenWhenEveryNameDiffers) {
    const Application backup =
        application(u"Backup Tool"_s, u"/Applications/Acronis True Image.app"_s);
    EXPECT_DOUBLE_EQ(score(backup, sharedCatalogueCask(u"acronis-true-image"_s)), 1.0);
}

TEST(MatchConfidence, AppDirUninstallPathScoresBelowTheExactInstallerPath) {
    const Cask foo = cask(u"foo"_s, {u"/Applications/Foo.app"_s}, {u"$APPDIR/Foo.app"_s});
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Foo"_s), foo), 0.95);
}

TEST(MatchConfidence, WildcardUninstallPathMatchesABundleWithTheSamePrefix) {
    const Cask foo = cask(u"foo"_s, {}, {u"/Applications/Foo*.app"_s});
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Foo Beta"_s), foo), 0.95);
}

TEST(MatchConfidence, SharedWildcardUninstallPathMatchesABundleUnderIt) {
    const Application cleaner =
        application(u"Cleaner"_s, u"/Applications/Utilities/Adobe Creative Cloud Cleaner.app"_s);
    EXPECT_DOUBLE_EQ(score(cleaner, sharedCatalogueCask(u"adobe-creative-cloud"_s)), 0.95);
}

TEST(MatchConfidence, BracedAppDirIsExpandedOnlyInAPathThatQualifies) {
    const Application fooBeta = installedApplication(u"Foo Beta"_s);
    EXPECT_DOUBLE_EQ(score(fooBeta, cask(u"x"_s, {}, {u"${APPDIR}/Foo*.app"_s})), 0.95);
    // Without "$APPDIR" or a wildcard the path is not expanded; only its file name counts.
    EXPECT_DOUBLE_EQ(score(fooBeta, cask(u"x"_s, {}, {u"${APPDIR}/FooBeta.app"_s})), 0.8);
}

TEST(MatchConfidence, TildeInAWildcardPathIsTheHomeDirectory) {
    const Cask foo = cask(u"foo"_s, {}, {u"~/Applications/Foo*.app"_s});
    const Application inHome = application(u"Foo Beta"_s, home + u"/Applications/Foo Beta.app"_s);
    EXPECT_DOUBLE_EQ(score(inHome, foo), 0.95);
}

TEST(MatchConfidence, TwoAsterisksNeverMatch) {
    const Cask foo = cask(u"x"_s, {}, {u"/Applications/*Foo*.app"_s});
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Foo Beta"_s), foo), 0.0);
}

TEST(MatchConfidence, OnlyAQuestionMarkNeverMatches) {
    const Cask foo = cask(u"x"_s, {}, {u"/Applications/Foo?Beta.app"_s});
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Foo Beta"_s), foo), 0.0);
}

TEST(MatchConfidence, ExactInstallerPathScoresFully) {
    const Application code = installedApplication(u"Visual Studio Code"_s);
    EXPECT_DOUBLE_EQ(score(code, sharedCatalogueCask(u"visual-studio-code"_s)), 1.0);
}

TEST(MatchConfidence, CopyInAnotherFolderScoresByFileNameBeforeItsName) {
    // The token normalises to the name as well, worth 0.95, but the file-name test comes first.
    const Application code =
        application(u"Visual Studio Code"_s, home + u"/Applications/Visual Studio Code.app"_s);
    EXPECT_DOUBLE_EQ(score(code, sharedCatalogueCask(u"visual-studio-code"_s)), 0.9);
}

TEST(MatchConfidence, FileNameComparesInAnyCase) {
    const Application code = application(u"code"_s, u"/Volumes/Apps/VISUAL STUDIO CODE.APP"_s);
    EXPECT_DOUBLE_EQ(score(code, sharedCatalogueCask(u"visual-studio-code"_s)), 0.9);
}

TEST(MatchConfidence, BlanksInTheBundleNameMeetAnInstallerWithoutThem) {
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Alt Tab"_s), sharedCatalogueCask(u"alt-tab"_s)),
                     0.8);
}

TEST(MatchConfidence, CompactBaseNameMeetsTheInstallersBaseName) {
    const Application tab = application(u"Alt Tab"_s, u"/Applications/Alt Tab.bundle"_s);
    EXPECT_DOUBLE_EQ(score(tab, cask(u"x"_s, {u"/Applications/AltTab.app"_s})), 0.8);
}

TEST(MatchConfidence, UninstallPathFileNameWithoutBlanksScoresEightyPercent) {
    const Cask music = cask(u"x"_s, {}, {u"/Library/AmazonMusic.app"_s});
    const Application app = application(u"Amazon Music"_s, home + u"/Amazon Music.app"_s);
    EXPECT_DOUBLE_EQ(score(app, music), 0.8);
}

TEST(MatchConfidence, TildePathWithoutWildcardCountsOnlyByFileName) {
    const Cask foo = cask(u"x"_s, {}, {u"~/Applications/Foo.app"_s});
    EXPECT_DOUBLE_EQ(score(application(u"Foo"_s, home + u"/Applications/Foo.app"_s), foo), 0.8);
}

TEST(MatchConfidence, NormalisedTokenEqualToTheNameScoresNinetyFive) {
    EXPECT_DOUBLE_EQ(score(application(u"Sublime Text"_s, u"/Opt/ST.app"_s),
                           sharedCatalogueCask(u"sublime-text"_s)),
                     0.95);
}

TEST(MatchConfidence, NormalisedTokenEqualToTheDisplayNameScoresNinetyFive) {
    const Application renamed = application(u"ST"_s, u"/Opt/ST.app"_s, u"Sublime Text"_s);
    EXPECT_DOUBLE_EQ(score(renamed, sharedCatalogueCask(u"sublime-text"_s)), 0.95);
}

TEST(MatchConfidence, OfficialNameEqualToTheNameScoresNinetyFive) {
    const Cask code = cask(u"code"_s, {}, {}, {u"Visual Studio Code"_s});
    EXPECT_DOUBLE_EQ(score(application(u"visual studio code"_s, u"/Opt/VSC.app"_s), code), 0.95);
}

TEST(MatchConfidence, NumbersAfterABlankAreIgnoredInInstallerNames) {
    const Cask foo = cask(u"somethingelse"_s, {u"/Applications/Foo 3.app"_s});
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Foo 2"_s), foo), 0.8);
}

TEST(MatchConfidence, AnOlderMajorVersionMeetsTheSharedCaskOfTheNewer) {
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Alfred 4"_s), sharedCatalogueCask(u"alfred"_s)),
                     0.8);
}

TEST(MatchConfidence, NumbersRemovalUsesUnicodeDigitsAndBlanks) {
    // An ideographic space and Arabic-Indic digits count as a blank and a number.
    const Cask foo = cask(u"somethingelse"_s, {u"/Applications/Foo\u3000\u0663.app"_s});
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Foo 2"_s), foo), 0.8);
}

TEST(MatchConfidence, TokenContainingTheNameScoresHalf) {
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Superfoo"_s), cask(u"superfoo-tool"_s)), 0.5);
}

TEST(MatchConfidence, NameContainingTheTokenScoresHalf) {
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Superfoo Studio"_s), cask(u"superfoo"_s)), 0.5);
}

TEST(MatchConfidence, ThreeCharacterNameNeverMatchesBySubstring) {
    const Application arc = installedApplication(u"Arc"_s);
    EXPECT_DOUBLE_EQ(score(arc, sharedCatalogueCask(u"archiver"_s)), 0.0);
}

TEST(MatchConfidence, ThreeCharacterNameStillMatchesByPath) {
    const Application arc = installedApplication(u"Arc"_s);
    EXPECT_DOUBLE_EQ(score(arc, cask(u"the-browser"_s, {u"/Applications/Arc.app"_s})), 1.0);
}

TEST(MatchConfidence, ThreeCharacterTokenNeverMatchesBySubstring) {
    EXPECT_DOUBLE_EQ(score(installedApplication(u"VLC Player"_s), cask(u"vlc"_s)), 0.0);
}

TEST(MatchConfidence, CountsCharactersNotCodeUnits) {
    // An accent written as its own code point makes four code units but three characters,
    // which closes the substring test; the same name with a composed letter has four.
    EXPECT_DOUBLE_EQ(score(installedApplication(u"cae\u0301"_s), cask(u"cae\u0301-pro"_s)), 0.0);
    EXPECT_DOUBLE_EQ(score(installedApplication(u"caf\u00e9"_s), cask(u"caf\u00e9-pro"_s)), 0.5);
}

TEST(MatchConfidence, NothingInCommonScoresZero) {
    EXPECT_DOUBLE_EQ(
        score(installedApplication(u"Teleprompter"_s), sharedCatalogueCask(u"firefox"_s)), 0.0);
}

TEST(MatchConfidence, IgnoresInstallersThatAreNoApps) {
    Cask setup = cask(u"x"_s);
    setup.installers.append({InstallerType::manual, u"/Applications/Setup.app"_s});
    EXPECT_DOUBLE_EQ(score(installedApplication(u"Setup"_s), setup), 0.0);
}

// Wildcard patterns.

TEST(WildcardPathMatch, PrefixAndTheWordsAfterTheAsteriskMatch) {
    EXPECT_TRUE(wildcardPathMatch(u"/Applications/Foo Beta.app"_s, u"/Applications/Foo*.app"_s));
}

TEST(WildcardPathMatch, PrefixMustMatchCaseIncluded) {
    EXPECT_FALSE(wildcardPathMatch(u"/Applications/Foo Beta.app"_s, u"/applications/Foo*.app"_s));
}

TEST(WildcardPathMatch, WordsAfterTheAsteriskMatchInAnyCaseAndAnyPlace) {
    EXPECT_TRUE(
        wildcardPathMatch(u"/Applications/Foo Beta.app"_s, u"/Applications/*  .APP   beta "_s));
}

TEST(WildcardPathMatch, AMissingWordFails) {
    EXPECT_FALSE(wildcardPathMatch(u"/Applications/Foo Beta.app"_s, u"/Applications/Foo*Gamma"_s));
}

TEST(WildcardPathMatch, NothingAfterTheAsteriskMatchesAnyRest) {
    EXPECT_TRUE(wildcardPathMatch(u"/Applications/Foo Beta.app"_s, u"/Applications/Foo*"_s));
}

TEST(WildcardPathMatch, TwoAsterisksNeverMatch) {
    EXPECT_FALSE(wildcardPathMatch(u"/Applications/Foo Beta.app"_s, u"/Applications/*Foo*"_s));
}

TEST(WildcardPathMatch, QuestionMarkAloneNeverMatches) {
    EXPECT_FALSE(wildcardPathMatch(u"/Applications/Foo.app"_s, u"/Applications/Fo?.app"_s));
}

// Primary candidates.

TEST(CaskCandidates, FindsCasksUnderTheTokenOfficialAndNormalisedNames) {
    const CaskIndex index(
        {cask(u"foo"_s), cask(u"bar"_s, {}, {}, {u"Foo"_s}), cask(u"foo-baz"_s), cask(u"other"_s)});
    const QStringList byName = tokensOf(findCaskCandidates(installedApplication(u"Foo"_s), index));
    EXPECT_EQ(byName, (QStringList{u"foo"_s, u"bar"_s}));
    const QStringList byKey =
        tokensOf(findCaskCandidates(installedApplication(u"Foo Baz"_s), index));
    EXPECT_EQ(byKey, QStringList{u"foo-baz"_s});
}

TEST(CaskCandidates, LooksUpTheDisplayNameToo) {
    const CaskIndex index({cask(u"foo"_s), cask(u"bar"_s)});
    const Application renamed = application(u"Foo"_s, u"/Applications/Foo.app"_s, u"Bar"_s);
    EXPECT_EQ(tokensOf(findCaskCandidates(renamed, index)), (QStringList{u"foo"_s, u"bar"_s}));
}

TEST(CaskCandidates, HoldsEachCaskOnce) {
    const CaskIndex index({cask(u"sublime-text"_s, {}, {}, {u"Sublime Text"_s})});
    const Application sublime =
        application(u"sublime-text"_s, u"/Applications/x.app"_s, u"Sublime Text"_s);
    EXPECT_EQ(tokensOf(findCaskCandidates(sublime, index)), QStringList{u"sublime-text"_s});
}

TEST(CaskCandidates, AddsCasksWhoseTokenOverlapsTheName) {
    const CaskIndex index({cask(u"superfoo-tool"_s), cask(u"super"_s), cask(u"unrelated"_s)});
    EXPECT_EQ(tokensOf(findCaskCandidates(installedApplication(u"Superfoo"_s), index)),
              (QStringList{u"superfoo-tool"_s, u"super"_s}));
}

TEST(CaskCandidates, StopsScanningAtFiftyOneCandidates) {
    QList<Cask> casks;
    for (int number = 1; number <= 60; ++number) {
        casks.append(cask(u"fooz-%1"_s.arg(number)));
    }
    const CaskIndex index(casks);
    const QList<const Cask*> candidates =
        findCaskCandidates(installedApplication(u"Fooz"_s), index);
    EXPECT_EQ(candidates.size(), 51);
    EXPECT_EQ(candidates.last()->name, u"fooz-51"_s);
}

TEST(CaskCandidates, LookupFindingsCountTowardsTheStop) {
    QList<Cask> casks;
    for (int number = 1; number <= 60; ++number) {
        casks.append(cask(u"fooz-%1"_s.arg(number)));
    }
    casks.append(cask(u"fooz"_s));
    const CaskIndex index(casks);
    const QStringList candidates =
        tokensOf(findCaskCandidates(installedApplication(u"Fooz"_s), index));
    EXPECT_EQ(candidates.size(), 51);
    EXPECT_EQ(candidates.first(), u"fooz"_s);
    EXPECT_EQ(candidates.last(), u"fooz-50"_s);
}

TEST(CaskCandidates, ShortNamesScanNothing) {
    const CaskIndex index({cask(u"arcade"_s), cask(u"search"_s)});
    EXPECT_TRUE(findCaskCandidates(installedApplication(u"Arc"_s), index).isEmpty());
}

TEST(CaskCandidates, ShortDisplayNameScansNothingEither) {
    const CaskIndex index({cask(u"archiver-pro"_s)});
    const Application archiver =
        application(u"Archiver"_s, u"/Applications/Archiver.app"_s, u"Arc"_s);
    EXPECT_TRUE(findCaskCandidates(archiver, index).isEmpty());
}

TEST(CaskCandidates, EmptyCatalogueGivesNoCandidates) {
    EXPECT_TRUE(findCaskCandidates(installedApplication(u"Firefox"_s), CaskIndex()).isEmpty());
}

TEST(CaskCandidates, FindsTheSharedCasksOfAnApplication) {
    const QStringList candidates =
        tokensOf(findCaskCandidates(installedApplication(u"1Password"_s), sharedIndex()));
    for (const QString& token :
         {u"1password"_s, u"1password@beta"_s, u"1password@7"_s, u"1password-cli"_s}) {
        EXPECT_TRUE(candidates.contains(token)) << token.toStdString();
    }
}

// Ranking and options.

TEST_F(CaskMatching, OffersTheExactCaskFirstWithItsScore) {
    const QList<Cask> found = options(installedApplication(u"Visual Studio Code"_s), sharedIndex());
    ASSERT_FALSE(found.isEmpty());
    EXPECT_EQ(found.first().name, u"visual-studio-code"_s);
    EXPECT_DOUBLE_EQ(found.first().confidence, 1.0);
}

TEST_F(CaskMatching, RanksThePlainTokenBeforeItsVariants) {
    const QList<Cask> found = options(installedApplication(u"1Password"_s), sharedIndex());
    EXPECT_EQ(tokensOf(found), (QStringList{u"1password"_s, u"1password@beta"_s,
                                            u"1password@nightly"_s, u"1password@7"_s}));
    EXPECT_EQ(confidencesOf(found), (QList<double>{1.0, 0.9, 0.9, 0.95 * 0.9}));
}

TEST_F(CaskMatching, KeepsOnlyFiveOfSixGoodCandidates) {
    QList<Cask> casks;
    for (const QString& suffix : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s}) {
        casks.append(cask(u"fooz-"_s + suffix, {u"/Applications/Fooz.app"_s}));
    }
    const CaskIndex index(casks);
    EXPECT_EQ(options(installedApplication(u"Fooz"_s), index).size(), 5);
}

TEST_F(CaskMatching, AScoreOfExactlyHalfIsNotEnough) {
    const CaskIndex index({cask(u"superfoo-tool"_s)});
    EXPECT_TRUE(options(installedApplication(u"Superfoo"_s), index).isEmpty());
    EXPECT_TRUE(capture.contains(LogLevel::info, u"→ Superfoo → no cask options found"_s));
    EXPECT_FALSE(capture.containsText(u"Fallback search"_s));
}

TEST_F(CaskMatching, FallbackFindsTheSameFileNameWhenNoCandidateQualifies) {
    const QList<Cask> found = options(installedApplication(u"Algo App"_s), sharedIndex());
    EXPECT_EQ(tokensOf(found), QStringList{u"algoapp"_s});
    EXPECT_DOUBLE_EQ(found.first().confidence, 0.8);
    EXPECT_TRUE(
        capture.contains(LogLevel::info, u"⚡ Fallback search found 1 matches for Algo App"_s));
    EXPECT_FALSE(capture.containsText(u"no cask options found"_s));
}

TEST_F(CaskMatching, FallbackIsNotTriedWhenACandidateQualifies) {
    options(installedApplication(u"Visual Studio Code"_s), sharedIndex());
    EXPECT_FALSE(capture.containsText(u"Fallback search"_s));
}

TEST_F(CaskMatching, LogsAnApplicationWithoutOptionsByDisplayName) {
    const Application unknown =
        application(u"zzq"_s, u"/Applications/zzq.app"_s, u"Quite Unknown Thing"_s);
    EXPECT_TRUE(options(unknown, sharedIndex()).isEmpty());
    EXPECT_TRUE(
        capture.contains(LogLevel::info, u"→ Quite Unknown Thing → no cask options found"_s));
}

TEST_F(CaskMatching, ReturnsCopiesAndLeavesTheCatalogueAlone) {
    const QList<Cask> found = options(installedApplication(u"1Password"_s), sharedIndex());
    ASSERT_GE(found.size(), 2);
    EXPECT_DOUBLE_EQ(sharedCatalogueCask(found[1].name).confidence, 0.9);
    EXPECT_EQ(found[1].id, sharedCatalogueCask(found[1].name).id);
}

TEST_F(CaskMatching, FallbackSearchListsEveryCaskWithTheFileNameInCatalogueOrder) {
    const CaskIndex index({cask(u"b"_s, {u"/Applications/SuperFoo.app"_s}),
                           cask(u"c"_s, {}, {u"/Library/superfoo.app"_s}), cask(u"d"_s),
                           cask(u"a"_s, {u"/Other/SuperFoo.bundle"_s})});
    const QList<const Cask*> found =
        fallbackCaskSearch(installedApplication(u"Super Foo"_s), index, logger);
    EXPECT_EQ(tokensOf(found), (QStringList{u"b"_s, u"c"_s, u"a"_s}));
    EXPECT_TRUE(
        capture.contains(LogLevel::info, u"⚡ Fallback search found 3 matches for Super Foo"_s));
}

TEST_F(CaskMatching, FallbackSearchFindingNothingLogsNothing) {
    const CaskIndex index({cask(u"b"_s, {u"/Applications/Else.app"_s})});
    EXPECT_TRUE(fallbackCaskSearch(installedApplication(u"Super Foo"_s), index, logger).isEmpty());
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(CaskMatching, MatchesManyApplicationsAtOnceAgainstOneSnapshot) {
    const std::shared_ptr<const CaskIndex> index = catalogueIndex();
    const QStringList names =
        QString::fromUtf8(readCatalogueData(u"app-names.txt"_s)).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(names.size(), 300);
    const auto match = [&](const QString& name) {
        return tokensOf(findCaskOptions(installedApplication(name), *index, places, logger));
    };
    QList<QStringList> serial;
    for (const QString& name : names) {
        serial.append(match(name));
    }
    // Four threads read the one snapshot, each matching every fourth name.
    constexpr int threadCount = 4;
    std::vector<QStringList> parallel(static_cast<size_t>(names.size()));
    std::vector<std::thread> threads;
    for (int first = 0; first < threadCount; ++first) {
        threads.emplace_back([&, first] {
            for (qsizetype position = first; position < names.size(); position += threadCount) {
                parallel[static_cast<size_t>(position)] = match(names[position]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(QList<QStringList>(parallel.begin(), parallel.end()), serial);
}

TEST(RankCaskOptions, NearTieGoesToThePlainTokenWhichKeepsItsScore) {
    const QList<Cask> ranked = rankTokens({{u"foo@beta"_s, 0.95}, {u"foo"_s, 0.92}});
    EXPECT_EQ(tokensOf(ranked), (QStringList{u"foo"_s, u"foo@beta"_s}));
    EXPECT_DOUBLE_EQ(ranked[0].confidence, 0.92);
    EXPECT_DOUBLE_EQ(ranked[1].confidence, 0.855);
}

TEST(RankCaskOptions, NearTieBetweenPlainTokensGoesToTheShorter) {
    const QList<Cask> ranked = rankTokens({{u"foo-studio"_s, 0.95}, {u"foobar"_s, 0.9}});
    EXPECT_EQ(tokensOf(ranked), (QStringList{u"foobar"_s, u"foo-studio"_s}));
}

TEST(RankCaskOptions, ClearlyHigherScoreGoesFirst) {
    const QList<Cask> ranked = rankTokens({{u"foo"_s, 0.8}, {u"foo@beta"_s, 0.95}});
    EXPECT_EQ(tokensOf(ranked), (QStringList{u"foo@beta"_s, u"foo"_s}));
    EXPECT_EQ(confidencesOf(ranked), (QList<double>{0.95, 0.8 * 0.9}));
}

TEST(RankCaskOptions, KeepsTheOrderOfEqualEntries) {
    const QList<Cask> ranked = rankTokens({{u"abc-one"_s, 0.9}, {u"abc-two"_s, 0.9}});
    EXPECT_EQ(tokensOf(ranked), (QStringList{u"abc-one"_s, u"abc-two"_s}));
}

TEST(RankCaskOptions, CapsLaterOptionsAndClampsEveryOne) {
    const QList<Cask> ranked = rankTokens({{u"first"_s, 1.3}, {u"second"_s, 1.2}});
    EXPECT_EQ(confidencesOf(ranked), (QList<double>{1.0, 0.95}));
}

TEST(RankCaskOptions, NothingKeptGivesNoOptions) {
    EXPECT_TRUE(rankCaskOptions({}).isEmpty());
}

// Variant tokens.

TEST(VariantToken, SuffixAfterAtHyphenOrUnderscoreMakesAVariant) {
    const QStringList tokens{u"foo"_s, u"foo@beta"_s, u"foo-nightly"_s, u"foo_cn"_s};
    EXPECT_TRUE(isVariantToken(u"foo@beta"_s, tokens));
    EXPECT_TRUE(isVariantToken(u"foo-nightly"_s, tokens));
    EXPECT_TRUE(isVariantToken(u"foo_cn"_s, tokens));
    EXPECT_FALSE(isVariantToken(u"foo"_s, tokens));
}

TEST(VariantToken, ComparesInAnyCase) {
    EXPECT_TRUE(isVariantToken(u"Foo@Beta"_s, {u"FOO"_s}));
}

TEST(VariantToken, NeedsABaseOfMoreThanTwoCharacters) {
    EXPECT_FALSE(isVariantToken(u"fo@beta"_s, {u"fo"_s}));
}

TEST(VariantToken, NeedsASeparatorAfterTheBase) {
    EXPECT_FALSE(isVariantToken(u"foobar"_s, {u"foo"_s}));
    EXPECT_FALSE(isVariantToken(u"foo+"_s, {u"foo"_s}));
}

TEST(VariantToken, ATokenIsNoVariantOfItself) {
    EXPECT_FALSE(isVariantToken(u"foo-bar"_s, {u"FOO-BAR"_s}));
}

// The installed cask.

TEST(InstalledCask, OfTwoAtNinetyPercentTheEarlierInstalledTokenWins) {
    const Application copy = application(u"1Password"_s, home + u"/Applications/1Password.app"_s);
    const auto first =
        findInstalledCask(copy, {u"1password@beta"_s, u"1password"_s}, sharedIndex(), places);
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->name, u"1password@beta"_s);
    EXPECT_DOUBLE_EQ(first->confidence, 0.9);
    const auto reversed =
        findInstalledCask(copy, {u"1password"_s, u"1password@beta"_s}, sharedIndex(), places);
    EXPECT_EQ(reversed->name, u"1password"_s);
}

TEST(InstalledCask, AStrictlyHigherScoreReplacesTheBest) {
    const auto found = findInstalledCask(installedApplication(u"1Password"_s),
                                         {u"1password@7"_s, u"1password"_s}, sharedIndex(), places);
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->name, u"1password"_s);
    EXPECT_DOUBLE_EQ(found->confidence, 1.0);
}

TEST(InstalledCask, SkipsTokensTheCatalogueDoesNotHaveCaseIncluded) {
    EXPECT_FALSE(findInstalledCask(installedApplication(u"1Password"_s),
                                   {u"1Password"_s, u"no-such-cask"_s}, sharedIndex(), places)
                     .has_value());
}

TEST(InstalledCask, AScoreOfExactlyHalfIsNotEnough) {
    const CaskIndex index({cask(u"superfoo-tool"_s)});
    EXPECT_FALSE(
        findInstalledCask(installedApplication(u"Superfoo"_s), {u"superfoo-tool"_s}, index, places)
            .has_value());
}

TEST(InstalledCask, NothingInstalledGivesNothing) {
    EXPECT_FALSE(findInstalledCask(installedApplication(u"Firefox"_s), {}, sharedIndex(), places)
                     .has_value());
}

TEST(InstalledCask, FindsADeprecatedCaskInTheFullCatalogue) {
    const CaskIndex everything(
        parseCaskCatalogue(singleCaskCatalogue(u"alacritty.json"_s), true, u"/Applications"_s));
    const auto found = findInstalledCask(installedApplication(u"Alacritty"_s), {u"alacritty"_s},
                                         everything, places);
    ASSERT_TRUE(found.has_value());
    EXPECT_DOUBLE_EQ(found->confidence, 1.0);
}

TEST(MatchConfidence, AppDirStandsForTheConfiguredApplicationsFolder) {
    const CaskLocations sandbox{u"/srv/mac/Applications"_s, home};
    const Cask foo = cask(u"foo"_s, {}, {u"$APPDIR/Foo.app"_s});
    const Application moved = application(u"Foo"_s, u"/srv/mac/Applications/Foo.app"_s);
    EXPECT_DOUBLE_EQ(matchConfidence(moved, foo, sandbox), 0.95);
    EXPECT_DOUBLE_EQ(matchConfidence(moved, foo, places), 0.8);
}
