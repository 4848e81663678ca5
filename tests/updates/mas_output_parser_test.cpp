#include "updates/mas_output_parser.h"

#include "support/test_paths.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

// A recorded console block: a line naming its source, the command, then the output.
QString recordedOutput(const QString& name) {
    QFile file(fixturesDir() + QStringLiteral("/commands/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    return lines.mid(2).join(u'\n');
}

}  // namespace

TEST(MASListParser, ReadsIdentifierNameAndVersion) {
    EXPECT_EQ(parseMASList(QStringLiteral("123  Some App  (15.4)")),
              (QList<MASApp>{
                  {QStringLiteral("123"), QStringLiteral("Some App"), QStringLiteral("15.4")}}));
}

TEST(MASListParser, KeepsParenthesesThatBelongToTheName) {
    EXPECT_EQ(parseMASList(QStringLiteral("456  Foo (Beta)  (1.0)")),
              (QList<MASApp>{
                  {QStringLiteral("456"), QStringLiteral("Foo (Beta)"), QStringLiteral("1.0")}}));
}

TEST(MASListParser, KeepsALineWithoutVersionWithAnEmptyVersion) {
    EXPECT_EQ(
        parseMASList(QStringLiteral("789  Versionless App")),
        (QList<MASApp>{{QStringLiteral("789"), QStringLiteral(" Versionless App"), QString()}}));
}

TEST(MASListParser, DoesNotMatchAVersionHoldingAClosingParenthesis) {
    EXPECT_EQ(parseMASList(QStringLiteral("42  Odd App  (1.0) beta)")),
              (QList<MASApp>{
                  {QStringLiteral("42"), QStringLiteral(" Odd App  (1.0) beta)"), QString()}}));
}

TEST(MASListParser, SkipsBlankLinesAndTrimsLeadingBlanks) {
    const QString output = QStringLiteral("\n   123  Some App  (15.4)  \r\n\n  \n");
    EXPECT_EQ(parseMASList(output),
              (QList<MASApp>{
                  {QStringLiteral("123"), QStringLiteral("Some App"), QStringLiteral("15.4")}}));
}

TEST(MASListParser, GivesNothingForEmptyOutput) {
    EXPECT_TRUE(parseMASList(QString()).isEmpty());
}

TEST(MASListParser, ReadsTheRecordedListOutput) {
    EXPECT_EQ(
        parseMASList(recordedOutput(QStringLiteral("mas-list-readme.txt"))),
        (QList<MASApp>{
            {QStringLiteral("497799835"), QStringLiteral("Xcode"), QStringLiteral("15.4")},
            {QStringLiteral("640199958"), QStringLiteral("Developer"), QStringLiteral("10.6.5")},
            {QStringLiteral("899247664"), QStringLiteral("TestFlight"), QStringLiteral("3.5.2")},
        }));
}

TEST(MASOutdatedParser, ReadsCurrentAndAvailableVersions) {
    EXPECT_EQ(
        parseMASOutdated(QStringLiteral("123  Some App  (1.0 -> 2.0)")),
        (QList<MASUpdate>{{QStringLiteral("123"), QStringLiteral("123"), QStringLiteral("Some App"),
                           QStringLiteral("1.0"), QStringLiteral("2.0")}}));
}

TEST(MASOutdatedParser, DropsALineEndingInASingleVersion) {
    EXPECT_TRUE(parseMASOutdated(QStringLiteral("123  Some App  (1.0)")).isEmpty());
}

TEST(MASOutdatedParser, DropsALineWhoseVersionHoldsAClosingParenthesis) {
    EXPECT_TRUE(parseMASOutdated(QStringLiteral("123  Some App  (1.0 -> 2.0) beta)")).isEmpty());
}

TEST(MASOutdatedParser, KeepsParenthesesThatBelongToTheName) {
    const QList<MASUpdate> updates =
        parseMASOutdated(QStringLiteral("456  Foo (Beta)  (1.0 -> 1.1)"));
    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates.first().appName, QStringLiteral("Foo (Beta)"));
}

TEST(MASOutdatedParser, KeepsTheOrderOfTheLinesAndDropsOnlyTheOddOnes) {
    const QString output = QStringLiteral(
        "2  Second  (1 -> 2)\n"
        "Warning: something unrelated\n"
        "1  First  (3 -> 4)\n");
    const QList<MASUpdate> updates = parseMASOutdated(output);
    ASSERT_EQ(updates.size(), 2);
    EXPECT_EQ(updates[0].appId, QStringLiteral("2"));
    EXPECT_EQ(updates[1].appId, QStringLiteral("1"));
}

TEST(MASOutdatedParser, ReadsTheRecordedOutdatedOutput) {
    EXPECT_EQ(parseMASOutdated(recordedOutput(QStringLiteral("mas-outdated-readme.txt"))),
              (QList<MASUpdate>{
                  {QStringLiteral("497799835"), QStringLiteral("497799835"),
                   QStringLiteral("Xcode"), QStringLiteral("15.4"), QStringLiteral("16.0")},
                  {QStringLiteral("640199958"), QStringLiteral("640199958"),
                   QStringLiteral("Developer"), QStringLiteral("10.6.5"), QStringLiteral("10.6.6")},
              }));
}

TEST(MASOutdatedParser, DropsAMegabyteLineOfArrowsThatEndsAfterItsParenthesis) {
    const QString line =
        QStringLiteral("1 (") + QStringLiteral(" -> ").repeated(1 << 18) + QStringLiteral(")x");
    EXPECT_TRUE(parseMASOutdated(line).isEmpty());
}

TEST(MASOutdatedParser, ReadsTheVersionsAfterANameOfAMegabyteOfArrows) {
    const QString name = u'(' + QStringLiteral(" -> ").repeated(1 << 18) + u')';
    EXPECT_EQ(parseMASOutdated(QStringLiteral("1 ") + name + QStringLiteral(" (1.0 -> 2.0)")),
              (QList<MASUpdate>{{QStringLiteral("1"), QStringLiteral("1"), name,
                                 QStringLiteral("1.0"), QStringLiteral("2.0")}}));
}
