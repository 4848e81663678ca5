#include "bundle_workshop.h"
#include "test_property_list.h"

#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"

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

TEST(PropertyListDictionary, SurvivesDeeplyNestedXml) {
    const int depth = 100000;
    const QByteArray nested =
        QByteArray("<array>").repeated(depth) + QByteArray("</array>").repeated(depth);
    EXPECT_EQ(failureOf(xmlWithRoot(nested)), PropertyListError::Case::rootNotDictionary);
}
