#include "platform/appcast/standard_version_comparator.h"

#include <gtest/gtest.h>

#include <ostream>

using namespace tarnel;

namespace {

struct ComparatorRow {
    const char16_t* a;
    const char16_t* b;
    std::strong_ordering expected;
};

void PrintTo(const ComparatorRow& row, std::ostream* stream) {
    *stream << '"' << QString::fromUtf16(row.a).toStdString() << "\" vs \""
            << QString::fromUtf16(row.b).toStdString() << '"';
}

constexpr auto less = std::strong_ordering::less;
constexpr auto equal = std::strong_ordering::equal;
constexpr auto greater = std::strong_ordering::greater;

std::strong_ordering mirror(std::strong_ordering order) {
    return 0 <=> order;
}

const ComparatorRow table[] = {
    {u"1.0", u"1.1", less},
    {u"2.0", u"1.1", greater},
    {u"1.0", u"1.0.0", equal},
    {u"0.1", u"0.0.1", greater},
    {u"0.1", u"0.1.2", less},
    {u"1.5.5-335d3e2", u"1.5.6-b252311", less},
    {u"1.5.5-335d3e2", u"1.5.5-a655360", equal},
    {u"1.5-335d3e2", u"1.5.0-335d3e2", equal},
    {u"1.5.5", u"1.5.6a1", less},
    {u"1.1.0b1", u"1.1.0b2", less},
    {u"1.1.1b2", u"1.1.2a1", less},
    {u"1.0a1", u"1.0b1", less},
    {u"1.0b1", u"1.0", less},
    {u"0.9", u"1.0a1", less},
    {u"1.0b", u"1.0b2", less},
    {u"1.0b9", u"1.0b10", less},
    {u"1.0rc", u"1.0", less},
    {u"1.0pre1", u"1.0.0pre1", equal},
    {u"1.0 (1234)", u"1.0 (1235)", less},
    {u"1.0b1 (1234)", u"1.0 (1234)", less},
    {u"1.0b5 (1234)", u"1.0.1b5 (1234)", less},
    {u"2.0.0.2429", u"2.0.0.2430", less},
    {u"3.3 (5847)", u"3.3.1b1 (5902)", less},
    {u"3.3 (5847)", u"3.3.0 (5847)", equal},
    {u"1.1.1.1818", u"1.1.1.1818.0", equal},
    {u"3.3b1 (5902)", u"3.3.0b1 (5902)", equal},
    {u"201210251627", u"201211051041", less},
    {u"201210251627.0", u"201210251627", equal},
    {u"1.10", u"1.9", greater},
    {u"1.01", u"1.1", equal},
    {u"10", u"9", greater},
    {u"1.0.1", u"1.0", greater},
    {u"1.0-beta", u"1.0", equal},
    {u"2.0-1", u"2.0-2", equal},
    {u"1.0alpha", u"1.0beta", less},
    {u"1.0b5", u"1.0rc1", less},
    {u"1.0RC1", u"1.0b1", less},
    {u"1.0a", u"1.0.1", less},
    {u"1.1", u"1.1a", greater},
    {u"1.0 beta", u"1.0", greater},
    {u"1.0_1", u"1.0.1", less},
    {u"1.0+1", u"1.0", less},
    {u"v1.0", u"1.0", less},
    {u"1.0.0.0", u"1", equal},
    {u"1.2.3", u"1.2.10", less},
    {u"1..2", u"1.2", less},
    {u"1.2.", u"1.2", equal},
    {u"1a", u"1", less},
    {u"1.0b0", u"1.0b", greater},
    {u"", u"0", equal},
};

class StandardVersionTable : public testing::TestWithParam<ComparatorRow> {};

}  // namespace

TEST_P(StandardVersionTable, OrdersTheRowAsWritten) {
    const ComparatorRow& row = GetParam();
    EXPECT_EQ(compareStandardVersions(QString::fromUtf16(row.a), QString::fromUtf16(row.b)),
              row.expected);
}

TEST_P(StandardVersionTable, OrdersTheMirroredRowTheOtherWay) {
    const ComparatorRow& row = GetParam();
    EXPECT_EQ(compareStandardVersions(QString::fromUtf16(row.b), QString::fromUtf16(row.a)),
              mirror(row.expected));
}

INSTANTIATE_TEST_SUITE_P(StandardVersionComparator, StandardVersionTable, testing::ValuesIn(table));

TEST(StandardVersionComparator, HoldsAnOverlongDigitRunAtTheLargestValue) {
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.99999999999999999999"),
                                      QStringLiteral("1.9223372036854775807")),
              equal);
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.99999999999999999999"),
                                      QStringLiteral("1.9223372036854775806")),
              greater);
}

TEST(StandardVersionComparator, TakesDigitsOfOtherScriptsAsADigitRunWithoutValue) {
    // U+0663 ARABIC-INDIC DIGIT THREE: a digit, so no pre-release word.
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.\u0663"), QStringLiteral("1.0")), equal);
}

TEST(StandardVersionComparator, TakesUnicodePunctuationAsASeparator) {
    // U+00AB LEFT-POINTING DOUBLE ANGLE QUOTATION MARK extends the version.
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.0\u00ab"), QStringLiteral("1.0")), greater);
}

TEST(StandardVersionComparator, TakesUnicodeSpaceAsASeparator) {
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.0\u00a0beta"), QStringLiteral("1.0")),
              greater);
}

TEST(StandardVersionComparator, TakesSymbolsAndOtherLettersAsPrereleaseWords) {
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.0~1"), QStringLiteral("1.0")), less);
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.0\u00e9"), QStringLiteral("1.0")), less);
}

TEST(StandardVersionComparator, OrdersLetterRunsByCodePointBeyondTheBasicPlane) {
    // U+FB00 precedes U+1D49C, although its UTF-16 unit is the larger one.
    EXPECT_EQ(compareStandardVersions(QStringLiteral("1.0\ufb00"), QStringLiteral("1.0\U0001d49c")),
              less);
}

TEST(StandardVersionComparator, KeepsADashAtTheStartAsPartOfTheVersion) {
    EXPECT_EQ(compareStandardVersions(QStringLiteral("-1"), QStringLiteral("-2")), less);
}

TEST(StandardVersionComparator, OrdersOddTextsWithoutTransitivity) {
    EXPECT_EQ(compareStandardVersions(QStringLiteral("2b12"), QStringLiteral("2...")), less);
    EXPECT_EQ(compareStandardVersions(QStringLiteral("2..."), QStringLiteral("2.0b")), less);
    EXPECT_EQ(compareStandardVersions(QStringLiteral("2b12"), QStringLiteral("2.0b")), greater);
}
