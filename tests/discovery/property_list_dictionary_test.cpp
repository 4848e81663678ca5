#include "binary_property_list_builder.h"
#include "bundle_workshop.h"
#include "hostile_property_lists.h"
#include "test_property_list.h"

#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

PropertyListError::Case failureOf(const QByteArray& data) {
    try {
        PropertyListDictionary::fromData(data);
    } catch (const PropertyListError& error) {
        return error.errorCase();
    }
    throw std::logic_error("the data was read");
}

TestPropertyList sample() {
    TestPropertyList plist;
    plist.text("Name", QStringLiteral("Zoë 🎉"))
        .boolean("Enabled", true)
        .boolean("Disabled", false)
        .integer("Count", 3);
    return plist;
}

QByteArray xmlWithRoot(const QByteArray& root) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + root +
           "\n</plist>\n";
}

}  // namespace

TEST(PropertyListDictionary, ReadsTextBooleansAndOtherValuesFromXml) {
    const auto plist = PropertyListDictionary::fromData(sample().xml());

    EXPECT_EQ(plist.text("Name"), QStringLiteral("Zoë 🎉"));
    EXPECT_EQ(plist.boolean("Enabled"), true);
    EXPECT_EQ(plist.boolean("Disabled"), false);
    EXPECT_TRUE(plist.contains("Count"));
    EXPECT_FALSE(plist.text("Count"));
    EXPECT_FALSE(plist.boolean("Count"));
    EXPECT_FALSE(plist.boolean("Name"));
    EXPECT_FALSE(plist.contains("Missing"));
}

TEST(PropertyListDictionary, ReadsTheSameValuesFromBinary) {
    const auto plist = PropertyListDictionary::fromData(sample().binary());

    EXPECT_EQ(plist.text("Name"), QStringLiteral("Zoë 🎉"));
    EXPECT_EQ(plist.boolean("Enabled"), true);
    EXPECT_EQ(plist.boolean("Disabled"), false);
    EXPECT_TRUE(plist.contains("Count"));
}

TEST(PropertyListDictionary, GivesEveryTextEntry) {
    const auto plist =
        PropertyListDictionary::fromData(sample().text("Other", QStringLiteral("value")).binary());

    EXPECT_EQ(plist.textEntries(),
              (QHash<QString, QString>{{QStringLiteral("Name"), QStringLiteral("Zoë 🎉")},
                                       {QStringLiteral("Other"), QStringLiteral("value")}}));
}

TEST(PropertyListDictionary, ComparesKeysWithCase) {
    const auto plist = PropertyListDictionary::fromData(sample().xml());

    EXPECT_FALSE(plist.text("name"));
}

TEST(PropertyListDictionary, RejectsAnArrayRoot) {
    EXPECT_EQ(failureOf(xmlWithRoot("<array><string>a</string></array>")),
              PropertyListError::Case::rootNotDictionary);
}

TEST(PropertyListDictionary, RejectsATextRoot) {
    EXPECT_EQ(failureOf(xmlWithRoot("<string>a</string>")),
              PropertyListError::Case::rootNotDictionary);
}

TEST(PropertyListDictionary, RejectsEmptyData) {
    EXPECT_EQ(failureOf(QByteArray()), PropertyListError::Case::malformed);
}

TEST(PropertyListDictionary, RejectsBytesThatAreNoPropertyList) {
    EXPECT_EQ(failureOf("{ \"json\": true }"), PropertyListError::Case::malformed);
    EXPECT_EQ(failureOf(QByteArray("bplist00\xff\xff\xff", 11)),
              PropertyListError::Case::malformed);
}

// Every prefix either reads or fails with the typed error, and never crashes.
TEST(PropertyListDictionary, SurvivesEveryTruncationOfARealInfoPlist) {
    const QByteArray xml = fixtureInfoPlist(QStringLiteral("Xcodes"));
    const QByteArray binary = TestPropertyList::fromData(xml).binary();
    for (const QByteArray& whole : {xml, binary}) {
        for (qsizetype length = 0; length < whole.size(); ++length) {
            try {
                PropertyListDictionary::fromData(whole.left(length));
            } catch (const PropertyListError&) {
            }
        }
    }
    EXPECT_EQ(failureOf(binary.left(binary.size() - 1)), PropertyListError::Case::malformed);
}

TEST(PropertyListDictionary, SurvivesEveryByteOfABinaryInfoPlistFlipped) {
    const QByteArray binary =
        TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice"))).binary();
    for (qsizetype index = 0; index < binary.size(); ++index) {
        QByteArray damaged = binary;
        damaged[index] = static_cast<char>(~damaged[index]);
        try {
            PropertyListDictionary::fromData(damaged).textEntries();
        } catch (const PropertyListError&) {
        }
    }
    SUCCEED();
}

TEST(PropertyListDictionary, RefusesXmlNestedDeeperThanTheLimit) {
    EXPECT_EQ(failureOf(deeplyNestedXml(200000)), PropertyListError::Case::exceedsLimits);
}

TEST(PropertyListDictionary, RefusesBinaryNestedDeeperThanTheLimit) {
    EXPECT_EQ(failureOf(deeplyNestedBinary(300000)), PropertyListError::Case::exceedsLimits);
}

// The root dictionary is the first level.
TEST(PropertyListDictionary, ReadsNestingAsDeepAsTheLimitAllows) {
    const int depth = PropertyListLimits::maximumDepth - 1;
    for (const QByteArray& data : {deeplyNestedXml(depth), deeplyNestedBinary(depth)}) {
        EXPECT_EQ(PropertyListDictionary::fromData(data).text("CFBundleIdentifier"),
                  QStringLiteral("com.example.Hostile"));
    }
    EXPECT_EQ(failureOf(deeplyNestedXml(depth + 1)), PropertyListError::Case::exceedsLimits);
    EXPECT_EQ(failureOf(deeplyNestedBinary(depth + 1)), PropertyListError::Case::exceedsLimits);
}

TEST(PropertyListDictionary, ReadsSharedReferencesWithoutExpandingThem) {
    const QByteArray data = sharedReferenceBinary(64);
    ASSERT_LT(data.size(), 1024);

    const auto plist = PropertyListDictionary::fromData(data);

    EXPECT_EQ(plist.text("CFBundleIdentifier"), QStringLiteral("com.example.Hostile"));
    EXPECT_TRUE(plist.contains("Other"));
}

TEST(PropertyListDictionary, RefusesABinaryArrayThatHoldsItself) {
    BinaryPropertyListBuilder builder;
    const int key = builder.ascii("Loop");
    // The array is the next object, and refers to itself.
    const int loop = builder.array({key + 1});
    const QByteArray data = builder.build(builder.dictionary({{key, loop}}));

    EXPECT_EQ(failureOf(data), PropertyListError::Case::malformed);
}

TEST(PropertyListDictionary, RefusesBinaryKeysThatAreNoText) {
    BinaryPropertyListBuilder builder;
    const int key = builder.boolean(true);
    const QByteArray data = builder.build(builder.dictionary({{key, builder.ascii("value")}}));

    EXPECT_EQ(failureOf(data), PropertyListError::Case::malformed);
}

TEST(PropertyListDictionary, RefusesDataLongerThanTheLimit) {
    const QByteArray xml = sample().xml();
    const QByteArray padded = xml + QByteArray(PropertyListLimits::maximumSize - xml.size(), ' ');

    EXPECT_EQ(PropertyListDictionary::fromData(padded).text("Name"), QStringLiteral("Zoë 🎉"));
    EXPECT_EQ(failureOf(padded + ' '), PropertyListError::Case::exceedsLimits);
}

TEST(PropertyListDictionary, DecodesEveryEntityOfALongText) {
    const int count = 209715;

    const auto plist = PropertyListDictionary::fromData(entityHeavyString(count));

    EXPECT_EQ(plist.text("Text"), QString(count, u'&'));
}

TEST(PropertyListDictionary, DecodesEveryEntityOfALongKey) {
    const int count = 209715;

    const auto plist = PropertyListDictionary::fromData(entityHeavyKey(count));

    EXPECT_EQ(plist.text(QByteArray(count, '&').constData()), QStringLiteral("value"));
}

TEST(PropertyListDictionary, ReadsABinaryKeyThatHoldsU0000) {
    const QByteArray data = nulKeyBinary();
    ASSERT_EQ(data.size(), 51);

    EXPECT_EQ(PropertyListDictionary::fromData(data).textEntries(),
              (QHash<QString, QString>{{QString(QChar(u'\0')), QStringLiteral("a")}}));
}

TEST(PropertyListDictionary, KeepsAnUnpairedSurrogateOfABinaryText) {
    BinaryPropertyListBuilder builder;
    const QString unpaired = QStringLiteral("a") + QChar(0xd800) + QStringLiteral("b");
    const int key = builder.ascii("Text");
    const QByteArray data = builder.build(builder.dictionary({{key, builder.utf16(unpaired)}}));

    EXPECT_EQ(PropertyListDictionary::fromData(data).text("Text"), unpaired);
}

// A tag of a property list carries a version at most; many attributes would
// cost the XML reader time in their square.
TEST(PropertyListDictionary, RefusesATagWithManyAttributes) {
    QByteArray attributes;
    for (int index = 0; index < 100; ++index) {
        attributes += " a" + QByteArray::number(index) + "=\"x\"";
    }
    const QByteArray xml = "<plist version=\"1.0\"><dict><key>K</key><string" + attributes +
                           ">v</string></dict></plist>";

    EXPECT_EQ(failureOf(xml), PropertyListError::Case::exceedsLimits);
}

// What a document type declares inline (entities, default attributes) never
// applies: a property list names its document type and declares nothing.
TEST(PropertyListDictionary, RefusesDeclarationsInsideTheDocumentType) {
    const QByteArray body =
        "<plist version=\"1.0\"><dict><key>K</key><string>v</string></dict></plist>";

    EXPECT_EQ(failureOf("<!DOCTYPE plist [<!ATTLIST string a CDATA \"x\">]>" + body),
              PropertyListError::Case::malformed);
    EXPECT_EQ(failureOf("<!DOCTYPE plist [<!ENTITY e \"x\">]>" + body),
              PropertyListError::Case::malformed);
}

TEST(PropertyListDictionary, RefusesXmlThatBreaksTheShapeOfAPropertyList) {
    for (const QByteArray& root :
         {QByteArray("<dict><key>K</key></dict>"), QByteArray("<dict><string>v</string></dict>"),
          QByteArray("<dict>text<key>K</key><true/></dict>"),
          QByteArray("<dict><key>K</key><array><key>L</key></array></dict>"),
          QByteArray("<dict><key>K</key><unknown/></dict>"),
          QByteArray("<dict><key>K</key><string>v<true/></string></dict>"),
          QByteArray("<dict/><dict/>")}) {
        EXPECT_EQ(failureOf(xmlWithRoot(root)), PropertyListError::Case::malformed)
            << root.toStdString();
    }
    EXPECT_EQ(failureOf("<dict><key>K</key><true/></dict>"), PropertyListError::Case::malformed);
}

// Behind a named document type, the stream reader reports an entity it does
// not know instead of failing.
TEST(PropertyListDictionary, RefusesAnEntityThatNothingDeclares) {
    EXPECT_EQ(failureOf("<?xml version=\"1.0\"?>\n<!DOCTYPE plist SYSTEM \"plist.dtd\">\n"
                        "<plist><dict><key>K</key><string>&zz;</string></dict></plist>"),
              PropertyListError::Case::malformed);
}

TEST(PropertyListDictionary, RefusesXmlScalarsThatAreNotWellFormed) {
    for (const QByteArray& value :
         {QByteArray("<true>yes</true>"), QByteArray("<integer>12a</integer>"),
          QByteArray("<integer></integer>"), QByteArray("<real>one</real>"),
          QByteArray("<date>yesterday</date>"), QByteArray("<data>!!</data>")}) {
        EXPECT_EQ(failureOf(xmlWithRoot("<dict><key>K</key>" + value + "</dict>")),
                  PropertyListError::Case::malformed)
            << value.toStdString();
    }
}

TEST(PropertyListDictionary, ReadsXmlScalarsOfEveryType) {
    const auto plist = PropertyListDictionary::fromData(xmlWithRoot(
        "<dict><key>I</key><integer> -0x1F </integer><key>R</key><real>2.5e3</real>"
        "<key>D</key><date>2024-05-01T12:00:00Z</date><key>B</key><data>\n aGk=\n</data>"
        "<key>S</key><string><![CDATA[<a>]]> &lt;b&#62;</string></dict>"));

    for (const char* key : {"I", "R", "D", "B"}) {
        EXPECT_TRUE(plist.contains(key)) << key;
        EXPECT_FALSE(plist.text(key)) << key;
    }
    EXPECT_EQ(plist.text("S"), QStringLiteral("<a> <b>"));
}
