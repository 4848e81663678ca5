// The reproducers too large to keep as files, made here and run through the
// same harnesses as the corpus. A regression shows as a crash, as the suite's
// time-out, or at the memory ceiling.
#include "fuzz_harness.h"
#include "memory_ceiling.h"

#include <gtest/gtest.h>

namespace {

class GeneratedReproducer : public testing::Test {
protected:
    void SetUp() override { applyMemoryCeiling(); }
};

QByteArray xmlPropertyList(const QByteArray& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body +
           "</plist>";
}

void appendBigEndian(QByteArray& target, quint64 value, int size) {
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
        target.append(static_cast<char>((value >> shift) & 0xFF));
    }
}

// A binary property list of arrays only, each holding the next; the first is
// the root.
QByteArray nestedBinaryArrays(quint32 depth) {
    constexpr int referenceSize = 4;
    constexpr int offsetSize = 4;
    constexpr char oneEntryArray = '\xA1';
    constexpr char emptyArray = '\xA0';
    QByteArray bytes("bplist00");
    QByteArray offsets;
    for (quint32 index = 0; index < depth; ++index) {
        appendBigEndian(offsets, static_cast<quint64>(bytes.size()), offsetSize);
        if (index + 1 < depth) {
            bytes.append(oneEntryArray);
            appendBigEndian(bytes, index + 1, referenceSize);
        } else {
            bytes.append(emptyArray);
        }
    }
    const quint64 offsetTableStart = static_cast<quint64>(bytes.size());
    bytes.append(offsets);
    // The trailer: six unused bytes, the two sizes, the object count, the
    // root object and where the offsets start.
    bytes.append(QByteArray(6, '\0'));
    bytes.append(static_cast<char>(offsetSize));
    bytes.append(static_cast<char>(referenceSize));
    appendBigEndian(bytes, depth, 8);
    appendBigEndian(bytes, 0, 8);
    appendBigEndian(bytes, offsetTableStart, 8);
    return bytes;
}

// A feed of one item, with the Sparkle namespace bound and the item's
// download given.
QByteArray appcastFeed(const QByteArray& itemBody) {
    return "<?xml version=\"1.0\"?>\n<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>"
           "<item><enclosure url=\"https://example.com/App.zip\" sparkle:version=\"2\"/>" +
           itemBody + "</item></channel></rss>";
}

// Each of `count` elements given twice, none with a language, as "<a1/><a1/>".
QByteArray elementsGivenTwice(qsizetype count) {
    QByteArray elements;
    for (qsizetype index = 1; index <= count; ++index) {
        const QByteArray element = "<a" + QByteArray::number(index) + "/>";
        elements += element + element;
    }
    return elements;
}

}  // namespace

TEST_F(GeneratedReproducer, XMLPropertyListNested200000DeepIsReadWithoutCrashing) {
    constexpr qsizetype depth = 200'000;
    fuzzHarness(QStringLiteral("property_list"))
        .run(xmlPropertyList(QByteArray("<array>").repeated(depth) +
                             QByteArray("</array>").repeated(depth)));
}

TEST_F(GeneratedReproducer, BinaryPropertyListNested300000DeepIsReadWithoutCrashing) {
    fuzzHarness(QStringLiteral("property_list")).run(nestedBinaryArrays(300'000));
}

TEST_F(GeneratedReproducer, PropertyListOfMillionsOfValuesStaysWithinMemory) {
    constexpr qsizetype values = 20'000'000;
    fuzzHarness(QStringLiteral("property_list"))
        .run(xmlPropertyList("<array>" + QByteArray("<true/>").repeated(values) + "</array>"));
}

TEST_F(GeneratedReproducer, PropertyListStringOfMillionsOfEntitiesIsReadInLinearTime) {
    constexpr qsizetype entities = 2'097'152;
    fuzzHarness(QStringLiteral("property_list"))
        .run(xmlPropertyList("<dict><key>CFBundleName</key><string>" +
                             QByteArray("&amp;").repeated(entities) + "</string></dict>"));
}

TEST_F(GeneratedReproducer, PropertyListKeyOfMillionsOfCharacterReferencesIsReadInLinearTime) {
    constexpr qsizetype entities = 2'097'152;
    fuzzHarness(QStringLiteral("property_list"))
        .run(xmlPropertyList("<dict><key>" + QByteArray("&#65;").repeated(entities) +
                             "</key><string>Name</string></dict>"));
}

TEST_F(GeneratedReproducer, MASOutdatedLineOfManyArrowsIsReadInLinearTime) {
    constexpr qsizetype arrows = 262'144;
    fuzzHarness(QStringLiteral("mas_output"))
        .run("1 (" + QByteArray(" -> ").repeated(arrows) + ")x\n");
}

TEST_F(GeneratedReproducer, VersionTextsOfManyCombiningMarksCompareInLinearTime) {
    // U+0301 and U+0316 sort apart under normalisation, so every pair moves.
    constexpr qsizetype marks = 131'072;
    const QByteArray text = "a" + QByteArray("\xCC\x81\xCC\x96").repeated(marks);
    fuzzHarness(QStringLiteral("version_rules")).run(text + "\n" + text);
}

TEST_F(GeneratedReproducer, AppcastItemOfManyElementsGivenTwiceIsReadInLinearTime) {
    // As many as the feed's size cap allows.
    fuzzHarness(QStringLiteral("appcast_feed")).run(appcastFeed(elementsGivenTwice(400'000)));
}

TEST_F(GeneratedReproducer, AppcastWarningsOfAnItemWithALongTitleStayWithinMemory) {
    // Each element given twice is a warning that names the item by its title.
    fuzzHarness(QStringLiteral("appcast_feed"))
        .run(appcastFeed("<title>" + QByteArray(1'000'000, 't') + "</title>" +
                         elementsGivenTwice(20'000)));
}
