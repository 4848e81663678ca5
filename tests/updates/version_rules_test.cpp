#include "versions/version_rules.h"
#include "core/records/application.h"
#include "versions/strict_integer.h"

#include <gtest/gtest.h>

#include <ostream>

using namespace tarnel;

static void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}

namespace tarnel {

static void PrintTo(const ParsedVersion& version, std::ostream* stream) {
    *stream << version.major << '.' << version.minor << '.' << version.patch;
    if (version.prereleaseKind) {
        *stream << " kind " << static_cast<int>(*version.prereleaseKind) << " number "
                << version.prereleaseNumber;
    }
    *stream << " build " << version.build;
}

}  // namespace tarnel

namespace {

Application applicationWithShortVersion(const QString& shortVersion,
                                        const QString& bundleVersion = QStringLiteral("1")) {
    Application application;
    application.name = QStringLiteral("Editor");
    application.bundleIdentifier = QStringLiteral("com.example.Editor");
    application.bundleVersion = bundleVersion;
    application.shortVersion = shortVersion;
    return application;
}

ParsedVersion parsed(qint64 major, qint64 minor, qint64 patch, qint64 build = 0,
                     std::optional<PrereleaseKind> kind = std::nullopt,
                     qint64 prereleaseNumber = 0) {
    return ParsedVersion{major, minor, patch, prereleaseNumber, kind, build};
}

}  // namespace

// The integer reading shared by every rule.

TEST(StrictIntegerParse, ReadsAsciiDigits) {
    EXPECT_EQ(parseStrictInteger(u"0"), 0);
    EXPECT_EQ(parseStrictInteger(u"42"), 42);
    EXPECT_EQ(parseStrictInteger(u"007"), 7);
}

TEST(StrictIntegerParse, AcceptsOneLeadingPlusOrMinus) {
    EXPECT_EQ(parseStrictInteger(u"+7"), 7);
    EXPECT_EQ(parseStrictInteger(u"-7"), -7);
    EXPECT_EQ(parseStrictInteger(u"-0"), 0);
}

TEST(StrictIntegerParse, RejectsASignOrNothingWithoutDigits) {
    EXPECT_EQ(parseStrictInteger(u""), std::nullopt);
    EXPECT_EQ(parseStrictInteger(u"+"), std::nullopt);
    EXPECT_EQ(parseStrictInteger(u"-"), std::nullopt);
}

TEST(StrictIntegerParse, RejectsAnythingButDigitsAfterTheSign) {
    for (const char16_t* text : {u"1a", u" 1", u"1 ", u"+-1", u"--1", u"1+", u"1.0", u"0x1F"}) {
        SCOPED_TRACE(QString::fromUtf16(text).toStdString());
        EXPECT_EQ(parseStrictInteger(text), std::nullopt);
    }
}

TEST(StrictIntegerParse, RejectsDigitsOfOtherScripts) {
    EXPECT_EQ(parseStrictInteger(u"\u0663"), std::nullopt);        // Arabic-Indic three
    EXPECT_EQ(parseStrictInteger(u"\uFF11\uFF12"), std::nullopt);  // fullwidth one two
    EXPECT_EQ(parseStrictInteger(u"1\u0663"), std::nullopt);
}

TEST(StrictIntegerParse, ReadsBothEndsOfTheSigned64BitRange) {
    EXPECT_EQ(parseStrictInteger(u"9223372036854775807"), std::numeric_limits<qint64>::max());
    EXPECT_EQ(parseStrictInteger(u"-9223372036854775808"), std::numeric_limits<qint64>::min());
}

TEST(StrictIntegerParse, FailsOnOverflowOfASigned64BitInteger) {
    EXPECT_EQ(parseStrictInteger(u"9223372036854775808"), std::nullopt);
    EXPECT_EQ(parseStrictInteger(u"+9223372036854775808"), std::nullopt);
    EXPECT_EQ(parseStrictInteger(u"-9223372036854775809"), std::nullopt);
    EXPECT_EQ(parseStrictInteger(u"99999999999999999999"), std::nullopt);
}

// Appcast ordering: the parser.

TEST(ParseVersion, TakesTheLastDottedNumberAsTheBuild) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3")), parsed(1, 2, 0, 3));
    EXPECT_EQ(parseVersion(QStringLiteral("1.2")), parsed(1, 0, 0, 2));
    EXPECT_EQ(parseVersion(QStringLiteral("7")), parsed(7, 0, 0));
}

TEST(ParseVersion, TrimsWhitespaceAndNewlinesFirst) {
    EXPECT_EQ(parseVersion(QStringLiteral(" \t1.2.3\n")), parsed(1, 2, 0, 3));
    EXPECT_EQ(parseVersion(QStringLiteral("\u00A01.2.3\u2028")), parsed(1, 2, 0, 3));
}

TEST(ParseVersion, ReadsAnOverflowingBuildAsZero) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.99999999999999999999")), parsed(1, 2, 0, 0));
}

TEST(ParseVersion, ReadsTheKindAndNumberOfAPrereleaseSuffix) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3-rc2")), parsed(1, 2, 3, 0, PrereleaseKind::rc, 2));
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3-alpha7")),
              parsed(1, 2, 3, 0, PrereleaseKind::alpha, 7));
}

TEST(ParseVersion, GivesBetaBetaOneAndBetaDotOneTheSameNumber) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.0.0-beta")).prereleaseNumber, 1);
    EXPECT_EQ(parseVersion(QStringLiteral("1.0.0-beta1")).prereleaseNumber, 1);
    EXPECT_EQ(parseVersion(QStringLiteral("1.0.0-beta.1")).prereleaseNumber, 1);
}

TEST(ParseVersion, CutsTheBuildBeforeLookingForTheSuffix) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3-beta.2")),
              parsed(1, 2, 3, 2, PrereleaseKind::beta, 1));
}

TEST(ParseVersion, ReadsAnOverflowingPrereleaseNumberAsOne) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3-rc99999999999999999999")).prereleaseNumber, 1);
}

TEST(ParseVersion, DropsWhateverFollowsThePrereleaseSuffix) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3-beta2-hotfix")),
              parsed(1, 2, 3, 0, PrereleaseKind::beta, 2));
}

TEST(ParseVersion, DropsPiecesThatAreNoNumberSoLaterOnesMoveUp) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2a.3.4")), parsed(1, 3, 0, 4));
    EXPECT_EQ(parseVersion(QStringLiteral("1..3.4")), parsed(1, 3, 0, 4));
}

TEST(ParseVersion, IgnoresNumbersAfterTheThird) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3.4.5")), parsed(1, 2, 3, 5));
}

TEST(ParseVersion, ReadsSignedPiecesOfTheBase) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.-2.+3.4")), parsed(1, -2, 3, 4));
}

TEST(ParseVersion, FindsNoPrereleaseInAnUpperCaseSuffix) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3-RC1")), parsed(1, 2, 0));
}

TEST(ParseVersion, ReadsTextWithoutNumbersAsZero) {
    EXPECT_EQ(parseVersion(QStringLiteral("abc")), parsed(0, 0, 0));
    EXPECT_EQ(parseVersion(QString()), parsed(0, 0, 0));
}

TEST(ParseVersion, NeverReadsDigitsOfOtherScriptsAsNumbers) {
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3.\u0663")), parsed(1, 2, 3, 0));
    EXPECT_EQ(parseVersion(QStringLiteral("1.2.3-beta\u0663")),
              parsed(1, 2, 3, 0, PrereleaseKind::beta, 1));
}

// Appcast ordering: the comparison.

TEST(IsVersionNewer, ComparesTheLastNumbersOfTwoPiecesAsBuilds) {
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.10"), QStringLiteral("1.9")));
}

TEST(IsVersionNewer, OrdersOnePointTwoPointZeroAfterOnePointTwo) {
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.2.0"), QStringLiteral("1.2")));
    EXPECT_FALSE(isVersionNewer(QStringLiteral("1.2"), QStringLiteral("1.2.0")));
}

TEST(IsVersionNewer, OrdersOnePointTenBeforeOnePointNinePointOne) {
    EXPECT_FALSE(isVersionNewer(QStringLiteral("1.10"), QStringLiteral("1.9.1")));
}

TEST(IsVersionNewer, OrdersAReleaseAfterItsReleaseCandidate) {
    EXPECT_TRUE(isVersionNewer(QStringLiteral("2.0"), QStringLiteral("2.0-rc1")));
    EXPECT_FALSE(isVersionNewer(QStringLiteral("2.0-rc1"), QStringLiteral("2.0")));
}

TEST(IsVersionNewer, OrdersTwoPointOneBeforeItsReleaseCandidate) {
    EXPECT_FALSE(isVersionNewer(QStringLiteral("2.1"), QStringLiteral("2.1-rc1")));
    EXPECT_TRUE(isVersionNewer(QStringLiteral("2.1-rc1"), QStringLiteral("2.1")));
}

TEST(IsVersionNewer, LetsTheBuildDecideBetweenDottedBetaNumbers) {
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.2.3-beta.2"), QStringLiteral("1.2.3-beta.1")));
}

TEST(IsVersionNewer, ComparesPrereleaseNumbersAsNumbers) {
    EXPECT_FALSE(isVersionNewer(QStringLiteral("1.2.3-beta2"), QStringLiteral("1.2.3-beta10")));
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.2.3-beta10"), QStringLiteral("1.2.3-beta2")));
}

TEST(IsVersionNewer, LetsTheKindDecideBeforeTheNumber) {
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.2.3-rc"), QStringLiteral("1.2.3-beta.9")));
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.2.3-beta"), QStringLiteral("1.2.3-alpha5")));
}

TEST(IsVersionNewer, TreatsAnUpperCaseSuffixAsARelease) {
    EXPECT_FALSE(isVersionNewer(QStringLiteral("1.2.3-RC1"), QStringLiteral("1.2.0")));
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.2.3-RC1"), QStringLiteral("1.2-rc1")));
}

TEST(IsVersionNewer, OrdersTextWithoutNumbersBeforeOne) {
    EXPECT_FALSE(isVersionNewer(QStringLiteral("abc"), QStringLiteral("1")));
}

TEST(IsVersionNewer, NeverCallsEqualTextsNewer) {
    for (const QString& text : {QStringLiteral("1.2.3"), QStringLiteral("2.0-rc1"),
                                QStringLiteral("1.2.3-beta.2"), QStringLiteral("abc"), QString()}) {
        SCOPED_TRACE(text.toStdString());
        EXPECT_FALSE(isVersionNewer(text, text));
    }
}

TEST(IsVersionNewer, LetsTheBuildDecideBetweenReleasesOfOneBase) {
    EXPECT_TRUE(isVersionNewer(QStringLiteral("1.2.3.4"), QStringLiteral("1.2.3.3")));
    EXPECT_FALSE(isVersionNewer(QStringLiteral("1.2.3.3"), QStringLiteral("1.2.3.4")));
}

// Short version plus build.

TEST(CompositeVersion, KeepsThePrimaryWhenTheSecondaryIsEmpty) {
    EXPECT_EQ(compositeVersion(QStringLiteral("1.2"), QString()), QStringLiteral("1.2"));
}

TEST(CompositeVersion, JoinsPrimaryAndSecondaryWithADot) {
    EXPECT_EQ(compositeVersion(QStringLiteral("1.2"), QStringLiteral("345")),
              QStringLiteral("1.2.345"));
}

TEST(CompositeVersion, KeepsThePrimaryWhenItContainsTheSecondaryAnywhere) {
    EXPECT_EQ(compositeVersion(QStringLiteral("1.20"), QStringLiteral("20")),
              QStringLiteral("1.20"));
    EXPECT_EQ(compositeVersion(QStringLiteral("2.0 (123)"), QStringLiteral("123")),
              QStringLiteral("2.0 (123)"));
    EXPECT_EQ(compositeVersion(QStringLiteral("5"), QStringLiteral("5")), QStringLiteral("5"));
}

TEST(CompositeVersion, TestsContainmentCaseSensitively) {
    EXPECT_EQ(compositeVersion(QStringLiteral("1.0b"), QStringLiteral("B")),
              QStringLiteral("1.0b.B"));
}

TEST(CompositeVersion, GivesTextsWhoseBuildsDecideTheAppcastOrdering) {
    EXPECT_TRUE(isVersionNewer(compositeVersion(QStringLiteral("1.2"), QStringLiteral("346")),
                               compositeVersion(QStringLiteral("1.2"), QStringLiteral("345"))));
}

// Cask ordering.

TEST(BrewVersionComponents, KeepsOnlyThePartBeforeTheComma) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.2.3,4567")), (VersionComponents{1, 2, 3}));
}

TEST(BrewVersionComponents, RemovesParenthesisedNotesWithTheSpaceBefore) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("2.0 (123)")), (VersionComponents{2, 0}));
    EXPECT_EQ(brewVersionComponents(QStringLiteral("2.0\u00A0(1.5)")), (VersionComponents{2, 0}));
}

TEST(BrewVersionComponents, RemovesATrailingStatusWordInAnyCase) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.2.3.beta")), (VersionComponents{1, 2, 3}));
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.2.3.Upgrading")),
              (VersionComponents{1, 2, 3}));
}

TEST(BrewVersionComponents, GathersTheDigitsOfEachPieceWhereverTheyStand) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.2b3")), (VersionComponents{1, 23}));
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.beta3")), (VersionComponents{1, 3}));
}

TEST(BrewVersionComponents, DropsPiecesWithoutDigits) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1..2.x")), (VersionComponents{1, 2}));
    EXPECT_EQ(brewVersionComponents(QStringLiteral("latest")), VersionComponents{});
}

TEST(BrewVersionComponents, DropsPiecesThatOverflow) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.99999999999999999999.2")),
              (VersionComponents{1, 2}));
}

TEST(BrewVersionComponents, DropsPiecesHoldingDigitsOfOtherScripts) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.\u0663.2")), (VersionComponents{1, 2}));
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.2\uFF13")), (VersionComponents{1}));
}

TEST(BrewVersionComponents, NeverReadsASign) {
    EXPECT_EQ(brewVersionComponents(QStringLiteral("1.-2")), (VersionComponents{1, 2}));
}

TEST(IsBrewVersionNewer, IgnoresThePartAfterTheComma) {
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("1.2.3,4567"), QStringLiteral("1.2.3,4500")));
}

TEST(IsBrewVersionNewer, IgnoresAParenthesisedBuild) {
    EXPECT_TRUE(isBrewVersionNewer(QStringLiteral("2.0 (123)"), QStringLiteral("1.9")));
}

TEST(IsBrewVersionNewer, IgnoresATrailingBetaOrReleaseCandidateWord) {
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("1.2.3.beta"), QStringLiteral("1.2.3")));
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("1.2.3.RC"), QStringLiteral("1.2.3")));
}

TEST(IsBrewVersionNewer, ReadsLettersBetweenDigitsAsNothing) {
    EXPECT_TRUE(isBrewVersionNewer(QStringLiteral("1.2b3"), QStringLiteral("1.2")));
}

TEST(IsBrewVersionNewer, CountsAMissingComponentAsZero) {
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("1.2.3"), QStringLiteral("1.2.3.0")));
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("1.2.3.0"), QStringLiteral("1.2.3")));
    EXPECT_TRUE(isBrewVersionNewer(QStringLiteral("1.2.3.1"), QStringLiteral("1.2.3")));
}

TEST(IsBrewVersionNewer, NeverCallsAVersionWithoutNumbersNewer) {
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("latest"), QStringLiteral("1.0")));
    EXPECT_TRUE(isBrewVersionNewer(QStringLiteral("1.0"), QStringLiteral("latest")));
    EXPECT_TRUE(isBrewVersionNewer(QStringLiteral("0"), QStringLiteral("latest")));
}

TEST(IsBrewVersionNewer, NeverCallsEqualTextsNewer) {
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("1.0"), QStringLiteral("1.0")));
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("latest"), QStringLiteral("latest")));
}

TEST(IsBrewVersionNewer, ComparesComponentsAsNumbers) {
    EXPECT_TRUE(isBrewVersionNewer(QStringLiteral("1.10"), QStringLiteral("1.9")));
    EXPECT_FALSE(isBrewVersionNewer(QStringLiteral("1.9.9"), QStringLiteral("1.10")));
}

// Screen ordering.

TEST(DisplayVersionComponents, ReadsATrailingBetaAsNothingOnlyForLackOfDigits) {
    EXPECT_EQ(displayVersionComponents(QStringLiteral("1.2.3.beta")), (VersionComponents{1, 2, 3}));
    EXPECT_EQ(displayVersionComponents(QStringLiteral("1.2.3.beta2")),
              (VersionComponents{1, 2, 3, 2}));
}

TEST(DisplayVersionComponents, CutsTheCommaPartAndParenthesisedNotes) {
    EXPECT_EQ(displayVersionComponents(QStringLiteral("3.1 (77),9")), (VersionComponents{3, 1}));
}

TEST(IsDisplayVersionNewer, CallsNoNumbersNotNewerThanANumber) {
    EXPECT_FALSE(isDisplayVersionNewer(QStringLiteral("latest"), QStringLiteral("latest-2")));
}

TEST(IsDisplayVersionNewer, CountsAnEmptyListAsAllZeros) {
    EXPECT_FALSE(isDisplayVersionNewer(QStringLiteral("0"), QStringLiteral("latest")));
    EXPECT_TRUE(isDisplayVersionNewer(QStringLiteral("0.1"), QStringLiteral("latest")));
    EXPECT_FALSE(isDisplayVersionNewer(QStringLiteral("latest"), QStringLiteral("nightly")));
}

TEST(IsDisplayVersionNewer, ComparesComponentsPositionByPosition) {
    EXPECT_TRUE(isDisplayVersionNewer(QStringLiteral("2.0.1"), QStringLiteral("2.0")));
    EXPECT_FALSE(isDisplayVersionNewer(QStringLiteral("2.0"), QStringLiteral("2.0.0")));
    EXPECT_FALSE(isDisplayVersionNewer(QStringLiteral("1.2,5"), QStringLiteral("1.2,4")));
}

// The wording of the adoption message.

TEST(InstalledVersionCalledNewer, ComparesCharactersWithoutReadingNumbers) {
    EXPECT_FALSE(isInstalledVersionCalledNewer(QStringLiteral("10.0"), QStringLiteral("9.0")));
    EXPECT_TRUE(isInstalledVersionCalledNewer(QStringLiteral("9.0"), QStringLiteral("10.0")));
}

TEST(InstalledVersionCalledNewer, CallsTheLaterTextNewer) {
    EXPECT_TRUE(isInstalledVersionCalledNewer(QStringLiteral("2.1"), QStringLiteral("2.0")));
    EXPECT_FALSE(isInstalledVersionCalledNewer(QStringLiteral("2.0"), QStringLiteral("2.1")));
}

TEST(InstalledVersionCalledNewer, CallsTheCaskNewerWhenTheTextsAreEqual) {
    EXPECT_FALSE(isInstalledVersionCalledNewer(QStringLiteral("3.0"), QStringLiteral("3.0")));
}

TEST(InstalledVersionCalledNewer, TreatsCanonicallyEquivalentSpellingsAsEqual) {
    EXPECT_FALSE(
        isInstalledVersionCalledNewer(QStringLiteral("1.0-\u00E9"), QStringLiteral("1.0-e\u0301")));
}

TEST(InstalledVersionCalledNewer, OrdersByCodePointBeyondTheBasicPlane) {
    EXPECT_TRUE(isInstalledVersionCalledNewer(QStringLiteral("1.0-\U0001F600"),
                                              QStringLiteral("1.0-\uFF10")));
}

TEST(InstalledVersionCalledNewer, ComparesToTheEndBeyondALongRunOfCombiningMarks) {
    const qsizetype marks = 1 << 17;
    const QString installed =
        u'a' + QString::fromUtf16(u"\u0301\u0316").repeated(marks) + QStringLiteral("1");
    const QString cask =
        u'a' + QString::fromUtf16(u"\u0316\u0301").repeated(marks) + QStringLiteral("0");
    EXPECT_TRUE(isInstalledVersionCalledNewer(installed, cask));
}

TEST(InstalledVersionCalledNewer, ComparesToTheEndBeyondALongRunOfDecomposingCharacters) {
    // Each of these decomposes into two marks that the normaliser has to reorder.
    const QString run = QString::fromUtf16(u"\u0F73").repeated(1 << 17);
    EXPECT_TRUE(isInstalledVersionCalledNewer(run + u'1', run + u'0'));
}

// The installed version on rows.

TEST(InstalledDisplayVersion, RemovesAParenthesisedBuild) {
    EXPECT_EQ(installedDisplayVersion(applicationWithShortVersion(QStringLiteral("2.1 (456)"))),
              QStringLiteral("2.1"));
    EXPECT_EQ(
        installedDisplayVersion(applicationWithShortVersion(QStringLiteral("2.1\u00A0(456)"))),
        QStringLiteral("2.1"));
}

TEST(InstalledDisplayVersion, GivesUnknownWhenOnlyANoteRemains) {
    EXPECT_EQ(installedDisplayVersion(applicationWithShortVersion(QStringLiteral("(456)"))),
              QStringLiteral("Unknown"));
}

TEST(InstalledDisplayVersion, GivesUnknownForAnEmptyOrUnknownVersion) {
    EXPECT_EQ(installedDisplayVersion(applicationWithShortVersion(QString())),
              QStringLiteral("Unknown"));
    EXPECT_EQ(installedDisplayVersion(applicationWithShortVersion(QStringLiteral("Unknown"))),
              QStringLiteral("Unknown"));
}

TEST(InstalledDisplayVersion, NeverFallsBackToTheBundleVersion) {
    EXPECT_EQ(installedDisplayVersion(applicationWithShortVersion(QString(), QStringLiteral("88"))),
              QStringLiteral("Unknown"));
}

TEST(InstalledDisplayVersion, KeepsTextOutsideTheNotes) {
    EXPECT_EQ(
        installedDisplayVersion(applicationWithShortVersion(QStringLiteral("1.0 (a) beta (b)"))),
        QStringLiteral("1.0 beta"));
}
