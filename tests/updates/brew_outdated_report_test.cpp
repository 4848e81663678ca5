#include "updates/brew_outdated_report.h"

#include "homebrew/json_syntax_error.h"
#include "support/test_paths.h"

#include <QFile>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

using namespace tarnel;

namespace tarnel {

// Failures name the shape rather than a bare number.
static void PrintTo(BrewOutdatedReport::Shape shape, std::ostream* stream) {
    switch (shape) {
        case BrewOutdatedReport::Shape::casks:
            *stream << "casks";
            return;
        case BrewOutdatedReport::Shape::objectWithoutCasks:
            *stream << "objectWithoutCasks";
            return;
        case BrewOutdatedReport::Shape::unexpected:
            *stream << "unexpected";
            return;
    }
}

}  // namespace tarnel

namespace {

using Shape = BrewOutdatedReport::Shape;

BrewOutdatedReport parse(const QByteArray& json) {
    return BrewOutdatedReport::parse(json);
}

// One entry as "name: [installed, ...] -> latest", each absent field as
// "(absent)", so that an empty text, an empty list and a missing field differ.
std::string describe(const OutdatedCaskEntry& entry) {
    const QString absent = QStringLiteral("(absent)");
    const QString installed =
        entry.installedVersions ? u'[' + entry.installedVersions->join(QStringLiteral(", ")) + u']'
                                : absent;
    return QStringLiteral("%1: %2 -> %3")
        .arg(entry.name ? u'"' + *entry.name + u'"' : absent, installed,
             entry.latestVersion ? u'"' + *entry.latestVersion + u'"' : absent)
        .toStdString();
}

std::vector<std::string> entriesOf(const BrewOutdatedReport& report) {
    std::vector<std::string> entries;
    for (const OutdatedCaskEntry& entry : report.casks) {
        entries.push_back(describe(entry));
    }
    return entries;
}

// The only entry of a bare array holding one object with these members.
std::string onlyEntryWith(const QByteArray& members) {
    const BrewOutdatedReport report = parse("[{" + members + "}]");
    if (report.casks.size() != 1) {
        return "not one entry";
    }
    return describe(report.casks.first());
}

// A recorded output: a line naming its source, then what the tool printed.
QByteArray recordedOutput(const QString& name) {
    QFile file(fixturesDir() + QStringLiteral("/commands/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    const QByteArray contents = file.readAll();
    EXPECT_TRUE(contents.startsWith("# ")) << name.toStdString();
    return contents.sliced(contents.indexOf('\n') + 1);
}

}  // namespace

// The shapes of the root.

TEST(BrewOutdatedReport, ReadsTheCasksArrayOfARootObject) {
    const BrewOutdatedReport report = parse(
        R"({"formulae":[{"name":"wget","installed_versions":["1.0"],"current_version":"2.0"}],)"
        R"("casks":[{"name":"zoom","installed_versions":["6.0"],"current_version":"6.1"}]})");
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_EQ(entriesOf(report), std::vector<std::string>{R"("zoom": [6.0] -> "6.1")"});
    EXPECT_TRUE(report.rootKeys.isEmpty());
}

TEST(BrewOutdatedReport, ReadsABareArrayOfCaskObjectsInOrder) {
    const BrewOutdatedReport report =
        parse(R"([{"name":"zoom","installed_versions":["6.0"],"current_version":"6.1"},)"
              R"({"name":"maccy","installed_versions":["2.0.0"],"current_version":"2.1.0"}])");
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_EQ(entriesOf(report), (std::vector<std::string>{R"("zoom": [6.0] -> "6.1")",
                                                           R"("maccy": [2.0.0] -> "2.1.0")"}));
}

TEST(BrewOutdatedReport, ReadsAnEmptyCasksArrayAsNoEntries) {
    const BrewOutdatedReport report = parse(R"({"formulae":[],"casks":[]})");
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_TRUE(report.casks.isEmpty());
}

TEST(BrewOutdatedReport, ReadsAnEmptyRootArrayAsNoEntries) {
    const BrewOutdatedReport report = parse("[]");
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_TRUE(report.casks.isEmpty());
}

TEST(BrewOutdatedReport, GivesTheKeysInDocumentOrderOfAnObjectWithoutCasks) {
    const BrewOutdatedReport report = parse(R"({"zeta":1,"formulae":[],"alpha":{"casks":[]}})");
    EXPECT_EQ(report.shape, Shape::objectWithoutCasks);
    EXPECT_EQ(report.rootKeys, (QStringList{QStringLiteral("zeta"), QStringLiteral("formulae"),
                                            QStringLiteral("alpha")}));
    EXPECT_TRUE(report.casks.isEmpty());
}

TEST(BrewOutdatedReport, TakesCasksOfAnotherTypeForAnObjectWithoutCasks) {
    EXPECT_EQ(parse(R"({"casks":{"name":"zoom"}})").shape, Shape::objectWithoutCasks);
    EXPECT_EQ(parse(R"({"casks":null})").shape, Shape::objectWithoutCasks);
    EXPECT_EQ(parse(R"({"casks":[{"name":"zoom"},"maccy"]})").shape, Shape::objectWithoutCasks);
}

TEST(BrewOutdatedReport, GivesNoKeysForAnEmptyRootObject) {
    const BrewOutdatedReport report = parse("{}");
    EXPECT_EQ(report.shape, Shape::objectWithoutCasks);
    EXPECT_TRUE(report.rootKeys.isEmpty());
}

TEST(BrewOutdatedReport, CallsAnArrayHoldingANonObjectUnexpected) {
    for (const QByteArray& json :
         {QByteArray(R"([{"name":"zoom"},42])"), QByteArray("[null]"), QByteArray(R"(["zoom"])"),
          QByteArray(R"([[{"name":"zoom"}]])")}) {
        const BrewOutdatedReport report = parse(json);
        EXPECT_EQ(report.shape, Shape::unexpected) << json.toStdString();
        EXPECT_TRUE(report.casks.isEmpty()) << json.toStdString();
    }
}

// The fields of one entry.

TEST(BrewOutdatedReport, KeepsEveryInstalledVersionInOrder) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":["6.1","5.9"],)"
                            R"("current_version":"6.2")"),
              R"("zoom": [6.1, 5.9] -> "6.2")");
}

TEST(BrewOutdatedReport, ReadsASingleInstalledVersionAsAListOfOne) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_version":"6.0","current_version":"6.1")"),
              R"("zoom": [6.0] -> "6.1")");
}

TEST(BrewOutdatedReport, PrefersInstalledVersionsToTheSingleInstalledVersion) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_version":"5.0",)"
                            R"("installed_versions":["6.0"],"current_version":"6.1")"),
              R"("zoom": [6.0] -> "6.1")");
}

TEST(BrewOutdatedReport, FallsBackToTheSingleVersionWhenInstalledVersionsIsAString) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":"6.0",)"
                            R"("installed_version":"5.0","current_version":"6.1")"),
              R"("zoom": [5.0] -> "6.1")");
}

TEST(BrewOutdatedReport, HasNoInstalledVersionWhenInstalledVersionsIsAStringAlone) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":"6.0","current_version":"6.1")"),
              R"("zoom": (absent) -> "6.1")");
}

TEST(BrewOutdatedReport, FallsBackToTheSingleVersionWhenInstalledVersionsHoldsANonString) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":["6.0",6],)"
                            R"("installed_version":"5.0","current_version":"6.1")"),
              R"("zoom": [5.0] -> "6.1")");
}

TEST(BrewOutdatedReport, KeepsAnEmptyInstalledVersionsListOverTheSingleVersion) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":[],"installed_version":"1.0",)"
                            R"("current_version":"6.1")"),
              R"("zoom": [] -> "6.1")");
}

TEST(BrewOutdatedReport, DoesNotTakeANumberForTheSingleInstalledVersion) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_version":1.0,"current_version":"6.1")"),
              R"("zoom": (absent) -> "6.1")");
}

TEST(BrewOutdatedReport, PrefersCurrentVersionToLatestVersion) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":["6.0"],)"
                            R"("latest_version":"7.0","current_version":"6.1")"),
              R"("zoom": [6.0] -> "6.1")");
}

TEST(BrewOutdatedReport, ReadsLatestVersionWhenCurrentVersionIsAbsent) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":["6.0"],"latest_version":"7.0")"),
              R"("zoom": [6.0] -> "7.0")");
}

TEST(BrewOutdatedReport, ReadsLatestVersionWhenCurrentVersionIsOfAnotherType) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":["6.0"],)"
                            R"("current_version":7,"latest_version":"7.0")"),
              R"("zoom": [6.0] -> "7.0")");
}

TEST(BrewOutdatedReport, HasNoLatestVersionWhenNeitherKeyHoldsAString) {
    EXPECT_EQ(onlyEntryWith(R"("name":"zoom","installed_versions":["6.0"],)"
                            R"("current_version":null,"latest_version":["7.0"])"),
              R"("zoom": [6.0] -> (absent))");
}

TEST(BrewOutdatedReport, HasNoNameWhenTheNameIsOfAnotherType) {
    EXPECT_EQ(onlyEntryWith(R"("name":42,"installed_versions":["6.0"],"current_version":"6.1")"),
              R"((absent): [6.0] -> "6.1")");
}

TEST(BrewOutdatedReport, KeepsAnEntryWithNoKnownKeyAsAnEntryWithNothing) {
    EXPECT_EQ(onlyEntryWith(R"("pinned":false)"), "(absent): (absent) -> (absent)");
}

TEST(BrewOutdatedReport, KeepsNonAsciiTextIntact) {
    EXPECT_EQ(onlyEntryWith(R"("name":"caf\u00e9","installed_versions":["1.0\u03b2"],)"
                            R"("current_version":"2.0 \ud83d\ude00")"),
              "\"café\": [1.0β] -> \"2.0 😀\"");
}

// Bytes that are not what the reader takes.

TEST(BrewOutdatedReport, RefusesARootThatIsNeitherAnArrayNorAnObject) {
    for (const QByteArray& json : {QByteArray("null"), QByteArray("42"), QByteArray("-1.5e3"),
                                   QByteArray(R"("casks")"), QByteArray("true")}) {
        EXPECT_THROW(parse(json), JSONSyntaxError) << json.toStdString();
    }
}

TEST(BrewOutdatedReport, RefusesTruncatedJSON) {
    const QByteArray whole =
        R"({"formulae":[],"casks":[{"name":"zoom","installed_versions":["6.0"],)"
        R"("current_version":"6.1"}]})";
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_THROW(parse(whole.first(length)), JSONSyntaxError) << length;
    }
}

TEST(BrewOutdatedReport, RefusesTrailingGarbage) {
    EXPECT_THROW(parse("[] []"), JSONSyntaxError);
}

TEST(BrewOutdatedReport, RefusesTextThatIsNotUTF8) {
    EXPECT_THROW(parse("[{\"name\":\"caf\xE9\"}]"), JSONSyntaxError);
}

TEST(BrewOutdatedReport, AllowsALeadingByteOrderMark) {
    const BrewOutdatedReport report = parse(
        "\xEF\xBB\xBF"
        R"({"casks":[{"name":"zoom","installed_version":"6.0",)"
        R"("current_version":"6.1"}]})");
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_EQ(entriesOf(report), std::vector<std::string>{R"("zoom": [6.0] -> "6.1")"});
}

TEST(BrewOutdatedReport, RefusesAByteOrderMarkAlone) {
    EXPECT_THROW(parse("\xEF\xBB\xBF"), JSONSyntaxError);
}

TEST(BrewOutdatedReport, RefusesDeepNestingAtTheRootWithoutCrashing) {
    const QByteArray deep = QByteArray(100000, '[') + QByteArray(100000, ']');
    EXPECT_THROW(parse(deep), JSONSyntaxError);
}

TEST(BrewOutdatedReport, RefusesDeepNestingInsideAnEntryWithoutCrashing) {
    const QByteArray deep = R"({"casks":[{"name":"zoom","installed_versions":)" +
                            QByteArray(5000, '[') + QByteArray(5000, ']') + "}]}";
    EXPECT_THROW(parse(deep), JSONSyntaxError);
}

// What the tool has been recorded printing.

TEST(BrewOutdatedReport, ReadsTheRecordedOutputOfNothingOutdated) {
    const BrewOutdatedReport report =
        parse(recordedOutput(QStringLiteral("brew-outdated-json-v2-empty.txt")));
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_TRUE(report.casks.isEmpty());
}

TEST(BrewOutdatedReport, ReadsTheRecordedOutputOfFormulaeAndACask) {
    const BrewOutdatedReport report =
        parse(recordedOutput(QStringLiteral("brew-outdated-json-v2-formulae-and-cask.txt")));
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_EQ(entriesOf(report),
              std::vector<std::string>{R"("font-hack-nerd-font": [3.4.0] -> "3.5.0")"});
}

TEST(BrewOutdatedReport, ReadsTheRecordedOutputWithInstalledVersionsOfBothTypes) {
    const BrewOutdatedReport report = parse(recordedOutput(
        QStringLiteral("brew-outdated-json-v2-fixture-mixed-cask-installed_versions-types.txt")));
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_EQ(entriesOf(report), (std::vector<std::string>{R"("firefox": (absent) -> "126.0")",
                                                           R"("iterm2": [3.5.1] -> "3.5.2")"}));
}

TEST(BrewOutdatedReport, ReadsTheRecordedOutputOfAGreedyLatestCask) {
    const BrewOutdatedReport report =
        parse(recordedOutput(QStringLiteral("brew-outdated-json-v2-greedy-latest-fixture.txt")));
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_EQ(entriesOf(report),
              std::vector<std::string>{R"("wezterm@nightly": (absent) -> "latest")"});
}

TEST(BrewOutdatedReport, ReadsTheRecordedOutputSpreadOverThreeLines) {
    const BrewOutdatedReport report = parse(recordedOutput(
        QStringLiteral("brew-outdated-json-v2-multiple-installed-versions-fixture.txt")));
    EXPECT_EQ(report.shape, Shape::casks);
    EXPECT_EQ(entriesOf(report), std::vector<std::string>{R"("firefox": (absent) -> "123.0")"});
}
