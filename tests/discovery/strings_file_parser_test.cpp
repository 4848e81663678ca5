#include "test_property_list.h"

#include "platform/strings_file_parser.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

using Table = QHash<QString, QString>;

QByteArray encoded(const QString& text, QStringConverter::Encoding encoding) {
    QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
    return encoder.encode(text);
}

const QString sample = QStringLiteral(
    "/* Localized versions of Info.plist keys */\n"
    "\n"
    "CFBundleName = \"Glace\";\n"
    "// The name under the icon\n"
    "\"CFBundleDisplayName\" = \"Glace – Menü\";\n");

const Table sampleTable{{QStringLiteral("CFBundleName"), QStringLiteral("Glace")},
                        {QStringLiteral("CFBundleDisplayName"), QStringLiteral("Glace – Menü")}};

}  // namespace

TEST(StringsFileParser, ReadsUtf8WithCommentsAndUnquotedKeys) {
    EXPECT_EQ(parseStringsFile(sample.toUtf8()), sampleTable);
}

TEST(StringsFileParser, ReadsUtf8WithAByteOrderMark) {
    EXPECT_EQ(parseStringsFile(encoded(sample, QStringConverter::Utf8)), sampleTable);
}

TEST(StringsFileParser, ReadsLittleEndianUtf16WithAByteOrderMark) {
    EXPECT_EQ(parseStringsFile(encoded(sample, QStringConverter::Utf16LE)), sampleTable);
}

TEST(StringsFileParser, ReadsBigEndianUtf16WithAByteOrderMark) {
    EXPECT_EQ(parseStringsFile(encoded(sample, QStringConverter::Utf16BE)), sampleTable);
}

TEST(StringsFileParser, ReadsUtf16WithoutAByteOrderMark) {
    QStringEncoder encoder(QStringConverter::Utf16LE);
    EXPECT_EQ(parseStringsFile(encoder.encode(sample)), sampleTable);
}

TEST(StringsFileParser, ReadsEscapes) {
    const auto table = parseStringsFile(
        R"("a" = "quote \" backslash \\ tab \t line \n";
"b" = "\U00e9\u00E8 \101 \U00";)");

    ASSERT_TRUE(table);
    EXPECT_EQ(table->value(QStringLiteral("a")),
              QStringLiteral("quote \" backslash \\ tab \t line \n"));
    EXPECT_EQ(table->value(QStringLiteral("b")), QStringLiteral("éè A ") + QChar(u'\0'));
}

TEST(StringsFileParser, MapsAKeyAloneToItself) {
    EXPECT_EQ(parseStringsFile("\"Done\";"),
              (Table{{QStringLiteral("Done"), QStringLiteral("Done")}}));
}

TEST(StringsFileParser, ReadsATableInBraces) {
    EXPECT_EQ(parseStringsFile("{ CFBundleName = Glace; }\n"),
              (Table{{QStringLiteral("CFBundleName"), QStringLiteral("Glace")}}));
}

TEST(StringsFileParser, ReadsAnEmptyFile) {
    EXPECT_EQ(parseStringsFile(QByteArray()), Table());
    EXPECT_EQ(parseStringsFile("/* nothing */\n"), Table());
}

TEST(StringsFileParser, KeepsTheLastOfARepeatedKey) {
    EXPECT_EQ(parseStringsFile("\"k\" = \"one\";\n\"k\" = \"two\";"),
              (Table{{QStringLiteral("k"), QStringLiteral("two")}}));
}

TEST(StringsFileParser, ReadsABinaryPropertyList) {
    const QByteArray binary = TestPropertyList()
                                  .text("CFBundleName", QStringLiteral("Glace"))
                                  .integer("Other", 1)
                                  .binary();

    EXPECT_EQ(parseStringsFile(binary),
              (Table{{QStringLiteral("CFBundleName"), QStringLiteral("Glace")}}));
}

TEST(StringsFileParser, ReadsAnXmlPropertyList) {
    const QByteArray xml = TestPropertyList().text("CFBundleName", QStringLiteral("Glace")).xml();

    EXPECT_EQ(parseStringsFile(xml),
              (Table{{QStringLiteral("CFBundleName"), QStringLiteral("Glace")}}));
}

TEST(StringsFileParser, RejectsBrokenText) {
    EXPECT_FALSE(parseStringsFile("\"CFBundleName\" = \"Glace\""));
    EXPECT_FALSE(parseStringsFile("\"CFBundleName\" = \"Glace;"));
    EXPECT_FALSE(parseStringsFile("\"CFBundleName\" = ;"));
    EXPECT_FALSE(parseStringsFile("/* never closed"));
    EXPECT_FALSE(parseStringsFile("{ \"a\" = \"b\";"));
    EXPECT_FALSE(parseStringsFile("{ \"a\" = \"b\"; } trailing"));
    EXPECT_FALSE(parseStringsFile("\"a\" = \"b\\"));
}

TEST(StringsFileParser, RejectsBytesThatAreNotUtf8) {
    EXPECT_FALSE(parseStringsFile("\"a\" = \"\xff\xfe\xfd\";"));
}

TEST(StringsFileParser, RejectsABrokenPropertyList) {
    EXPECT_FALSE(parseStringsFile("bplist00 broken"));
    EXPECT_FALSE(parseStringsFile("<?xml version=\"1.0\"?><plist><dict><key>a</key>"));
}

TEST(StringsFileParser, SurvivesEveryTruncation) {
    const QByteArray whole = encoded(sample, QStringConverter::Utf16LE);
    for (qsizetype length = 0; length < whole.size(); ++length) {
        parseStringsFile(whole.left(length));
    }
    SUCCEED();
}
