#include "test_property_list.h"

#include "discovery/application_reader.h"
#include "platform/property_list_dictionary.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

const QString feed = QStringLiteral("https://example.com/appcast.xml");

std::optional<SparkleInfo> sparkleInfoOf(const TestPropertyList& plist) {
    return readSparkleInfo(PropertyListDictionary::fromData(plist.xml()));
}

}  // namespace

TEST(ReadSparkleInfo, GivesNothingWithoutAFeed) {
    EXPECT_FALSE(sparkleInfoOf(TestPropertyList().text("SUPublicEDKey", QStringLiteral("key"))));
}

TEST(ReadSparkleInfo, GivesNothingWhenTheFeedIsNoText) {
    EXPECT_FALSE(sparkleInfoOf(TestPropertyList().boolean("SUFeedURL", true)));
    EXPECT_FALSE(sparkleInfoOf(TestPropertyList().integer("SUFeedURL", 1)));
}

TEST(ReadSparkleInfo, TakesTheFeedAsItIs) {
    const auto info =
        sparkleInfoOf(TestPropertyList().text("SUFeedURL", QStringLiteral("ftp://odd")));

    ASSERT_TRUE(info);
    EXPECT_EQ(info->feedURL, QStringLiteral("ftp://odd"));
    EXPECT_FALSE(info->publicKey);
    EXPECT_FALSE(info->automaticallyUpdate);
}

TEST(ReadSparkleInfo, PrefersTheEdKeyToTheDsaKey) {
    const auto info = sparkleInfoOf(TestPropertyList()
                                        .text("SUFeedURL", feed)
                                        .text("SUPublicEDKey", QStringLiteral("ed"))
                                        .text("SUPublicDSAKey", QStringLiteral("dsa")));

    ASSERT_TRUE(info);
    EXPECT_EQ(info->publicKey, QStringLiteral("ed"));
}

TEST(ReadSparkleInfo, GivesTheDsaKeyWhenTheEdKeyIsAbsent) {
    const auto info = sparkleInfoOf(
        TestPropertyList().text("SUFeedURL", feed).text("SUPublicDSAKey", QStringLiteral("dsa")));

    ASSERT_TRUE(info);
    EXPECT_EQ(info->publicKey, QStringLiteral("dsa"));
}

TEST(ReadSparkleInfo, GivesTheDsaKeyWhenTheEdKeyIsNoText) {
    const auto info = sparkleInfoOf(TestPropertyList()
                                        .text("SUFeedURL", feed)
                                        .integer("SUPublicEDKey", 5)
                                        .text("SUPublicDSAKey", QStringLiteral("dsa")));

    ASSERT_TRUE(info);
    EXPECT_EQ(info->publicKey, QStringLiteral("dsa"));
}

TEST(ReadSparkleInfo, GivesNoKeyWhenNeitherKeyIsText) {
    const auto info = sparkleInfoOf(TestPropertyList()
                                        .text("SUFeedURL", feed)
                                        .boolean("SUPublicEDKey", true)
                                        .integer("SUPublicDSAKey", 3));

    ASSERT_TRUE(info);
    EXPECT_FALSE(info->publicKey);
}

TEST(ReadSparkleInfo, ReadsABooleanAutomaticUpdate) {
    const auto info = sparkleInfoOf(
        TestPropertyList().text("SUFeedURL", feed).boolean("SUAutomaticallyUpdate", true));

    ASSERT_TRUE(info);
    EXPECT_TRUE(info->automaticallyUpdate);
}

TEST(ReadSparkleInfo, TakesAnAutomaticUpdateGivenAsTextAsFalse) {
    const auto info = sparkleInfoOf(TestPropertyList()
                                        .text("SUFeedURL", feed)
                                        .text("SUAutomaticallyUpdate", QStringLiteral("YES")));

    ASSERT_TRUE(info);
    EXPECT_FALSE(info->automaticallyUpdate);
}

TEST(ReadSparkleInfo, LeavesTheLastCheckDateAndSkippedVersionAbsent) {
    const auto info = sparkleInfoOf(TestPropertyList()
                                        .text("SUFeedURL", feed)
                                        .text("SULastCheckTime", QStringLiteral("2024-01-01"))
                                        .text("SUSkippedVersion", QStringLiteral("2.0")));

    ASSERT_TRUE(info);
    EXPECT_FALSE(info->lastCheckDate);
    EXPECT_FALSE(info->skipVersion);
}
