#include "core/file_name_encoding.h"
#include "core/printable_text.h"

#include <gtest/gtest.h>

using namespace tarnel;

// Names read from a folder listing must open the same file again, whatever
// bytes they hold.
TEST(FileNameEncoding, EveryNameOfOneOrTwoBytesComesBackAsTheSameBytes) {
    for (int first = 1; first < 256; ++first) {
        const QByteArray one(1, static_cast<char>(first));
        ASSERT_EQ(encodeFileName(decodeFileName(one)), one) << first;
        for (int second = 1; second < 256; ++second) {
            const QByteArray two = one + static_cast<char>(second);
            ASSERT_EQ(encodeFileName(decodeFileName(two)), two) << first << ' ' << second;
        }
    }
}

TEST(FileNameEncoding, HoldsEachByteOfAnInvalidSequenceAsItsOwnLoneSurrogate) {
    // An overlong slash, an encoded surrogate, a sequence cut short and a
    // value past U+10FFFF, each between valid text.
    for (const QByteArray& invalid : {QByteArray("\xc0\xaf"), QByteArray("\xed\xa0\x80"),
                                      QByteArray("\xe2\x82"), QByteArray("\xf4\x90\x80\x80")}) {
        const QByteArray name = "Caf\xc3\xa9 " + invalid + " \xe6\x97\xa5.app";
        QString expected = QStringLiteral("Caf\u00e9 ");
        for (const char byte : invalid) {
            expected += QChar(0xDC00 + static_cast<unsigned char>(byte));
        }
        expected += QStringLiteral(" \u65e5.app");

        EXPECT_EQ(decodeFileName(name), expected) << name.toHex().toStdString();
        EXPECT_EQ(encodeFileName(expected), name) << name.toHex().toStdString();
    }
}

TEST(FileNameEncoding, KeepsACharacterBeyondTheBasicPlaneWhoseLowHalfLooksLikeAByte) {
    // U+10080 is the surrogate pair D800 DC80 and U+1F0BF is D83C DCBF: their
    // low halves lie in the range that stands for bytes when alone.
    const QByteArray name = "\xf0\x90\x82\x80\xf0\x9f\x82\xbf";
    EXPECT_EQ(decodeFileName(name), QString::fromUtf8(name));
    EXPECT_EQ(encodeFileName(decodeFileName(name)), name);
}

TEST(PrintableText, ShowsEachByteOfAFileNameThatIsNotUtf8AsThatByte) {
    EXPECT_EQ(printableText(decodeFileName("Caf\xff\xe9.app")),
              QStringLiteral(R"(Caf\xFF\xE9.app)"));
}
