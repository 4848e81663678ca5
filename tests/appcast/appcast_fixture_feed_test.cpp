#include "appcast/appcast_test_support.h"

#include "platform/appcast/appcast_selection.h"

#include <QTimeZone>

#include <gtest/gtest.h>

using namespace tarnel;

// The shared feeds: real ones as published, and the framework's samples of
// single features.

namespace {

using Code = UpdaterError::Code;
using Architecture = AppcastCheckContext::Architecture;

Appcast parseFixture(const char* name) {
    return parseTestFeed(fixtureFeed(QString::fromUtf8(name)));
}

std::optional<UpdateFound> bestOf(const char* feed, const AppcastCheckContext& context) {
    const AppcastSelection selection = selectUpdate(parseFixture(feed).items, context);
    if (const UpdateFound* found = std::get_if<UpdateFound>(&selection)) {
        return *found;
    }
    return std::nullopt;
}

// The version the check offers, or "none".
QString offeredVersion(const char* feed, const AppcastCheckContext& context) {
    const auto found = bestOf(feed, context);
    return found ? found->item.versionString : QStringLiteral("none");
}

QUrl url(const char* text) {
    return QUrl(QString::fromUtf8(text));
}

}  // namespace

TEST(AppcastFixtureFeed, OffersTheSingleItemOfIce) {
    const auto found = bestOf("Ice.xml", userCheck("1000"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"1110");
    EXPECT_EQ(found->item.displayVersionString, u"0.11.6");
    EXPECT_EQ(found->item.date, QDateTime(QDate(2024, 10, 1), QTime(1, 12, 23), QTimeZone::utc()));
    ASSERT_TRUE(found->item.enclosure);
    EXPECT_EQ(found->item.enclosure->contentLength, 3392103);
    EXPECT_FALSE(found->installRefusal.has_value());
}

TEST(AppcastFixtureFeed, ReadsMaccyFromItsEnclosureAttributes) {
    const auto found = bestOf("Maccy.xml", userCheck("40"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"46");
    EXPECT_EQ(found->item.displayVersionString, u"2.0.0");
    // "2024-09-16" is no feed date, and a release-notes link outside the
    // Sparkle namespace is no release-notes link.
    EXPECT_EQ(found->item.date, std::nullopt);
    EXPECT_EQ(found->item.releaseNotesURL, std::nullopt);
    EXPECT_EQ(found->item.enclosure->contentLength, 0);
}

TEST(AppcastFixtureFeed, ReadsOpenEmuAsCriticalWithTrimmedNotes) {
    const auto found = bestOf("OpenEmu.xml", userCheck("2.0.6"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"2.0.7");
    EXPECT_TRUE(found->state.isCritical);
    EXPECT_EQ(found->item.releaseNotesURL, url("http://openemu.org/rnotes/2.0.7.html"));
    EXPECT_EQ(found->item.enclosure->edSignature, std::nullopt);
    EXPECT_TRUE(found->item.enclosure->dsaSignature);
}

TEST(AppcastFixtureFeed, OffersClashXMetasNewestBuildOnAppleSilicon) {
    const auto found = bestOf("ClashX-Meta.xml", userCheck("600"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"1507");
    EXPECT_EQ(found->item.enclosure->url,
              url("https://raw.githubusercontent.com/1021683053/ClashX.Meta/refs/heads/sparkle/"
                  "ClashX%20Meta%20v1.4.43.zip"));
}

TEST(AppcastFixtureFeed, OffersClashXMetasLastIntelBuildOnIntel) {
    AppcastCheckContext context = userCheck("600");
    context.architecture = Architecture::x86_64;
    EXPECT_EQ(offeredVersion("ClashX-Meta.xml", context), u"632");
}

TEST(AppcastFixtureFeed, RejectsTheMalformedXcodesFeedWhole) {
    EXPECT_TRUE(rejectsFeed(fixtureFeed(QStringLiteral("Xcodes.xml")), u"line 65, column "));
}

TEST(AppcastFixtureFeed, OffersTheBestSuitableSampleItem) {
    const auto found = bestOf("sparkle-test.xml", userCheck("1.0", "13.5.0"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"3.0");
    // The samples download over plain HTTP, which is read but never installed.
    ASSERT_TRUE(found->installRefusal);
    EXPECT_EQ(found->installRefusal->code(), Code::download);
}

TEST(AppcastFixtureFeed, KeepsToTheDefaultChannelAndOurSystem) {
    const auto found = bestOf("sparkle-test-channels.xml", userCheck("1.0"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"3.0");
    EXPECT_TRUE(found->state.isCritical);
}

TEST(AppcastFixtureFeed, OffersAnAllowedChannelButNoOtherSystemOrDelta) {
    AppcastCheckContext context = userCheck("1.0");
    context.allowedChannels = {QStringLiteral("beta"), QStringLiteral("nightly")};
    EXPECT_EQ(offeredVersion("sparkle-test-channels.xml", context), u"5.0");
}

TEST(AppcastFixtureFeed, CallsTheFirstChannelSampleCriticalOnlyBelowItsVersion) {
    const AppcastItem first = parseFixture("sparkle-test-channels.xml").items.value(0);
    EXPECT_TRUE(resolveAppcastItemState(first, userCheck("1.0")).isCritical);
    EXPECT_FALSE(resolveAppcastItemState(first, userCheck("1.5")).isCritical);
}

TEST(AppcastFixtureFeed, OffersTheInformationalSampleWithoutInstallingIt) {
    const auto found = bestOf("sparkle-test-informationalUpdates.xml", userCheck("2.4"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"5.0");
    EXPECT_TRUE(found->state.isInformationOnly);
    ASSERT_TRUE(found->installRefusal);
    EXPECT_EQ(found->installRefusal->code(), Code::installation);
}

TEST(AppcastFixtureFeed, CallsTheInformationalSamplesInformationalAsMarked) {
    const QList<AppcastItem> items = parseFixture("sparkle-test-informationalUpdates.xml").items;
    ASSERT_EQ(items.size(), 4);
    EXPECT_FALSE(resolveAppcastItemState(items[0], userCheck("2.4")).isInformationOnly);
    EXPECT_TRUE(resolveAppcastItemState(items[1], userCheck("2.4")).isInformationOnly);
    EXPECT_FALSE(resolveAppcastItemState(items[1], userCheck("2.6")).isInformationOnly);
    EXPECT_TRUE(resolveAppcastItemState(items[2], userCheck("2.6")).isInformationOnly);
}

TEST(AppcastFixtureFeed, ReadsTheReleaseNotesInTheStatedLanguage) {
    const Appcast appcast = parseFixture("sparkle-test-localizedReleaseNotes.xml");
    ASSERT_EQ(appcast.items.size(), 1);
    EXPECT_EQ(appcast.items[0].releaseNotesURL,
              url("https://sparkle-project.org/#localized_notes_link_works"));
}

TEST(AppcastFixtureFeed, OffersTheMinorSampleBelowTheMajorVersion) {
    EXPECT_EQ(offeredVersion("sparkle-test-minimumAutoupdateVersion.xml", userCheck("1.0")),
              u"2.0");
}

TEST(AppcastFixtureFeed, OffersTheMajorSampleFromTheMajorVersionOn) {
    const auto found = bestOf("sparkle-test-minimumAutoupdateVersion.xml", userCheck("2.0"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"3.0");
    EXPECT_FALSE(found->state.isMajorUpgrade);
}

TEST(AppcastFixtureFeed, IgnoresTheRolloutOfThePhasedSampleInAUsersCheck) {
    EXPECT_EQ(offeredVersion("sparkle-test-phasedRollout.xml", userCheck("1.0")), u"2.0");
}

TEST(AppcastFixtureFeed, HoldsBackThePhasedSampleInABackgroundCheckOfALateGroup) {
    AppcastCheckContext context = userCheck("1.0");
    context.checkKind = AppcastCheckContext::CheckKind::background;
    context.updateGroupIdentifier = 6;
    context.now = QDateTime(QDate(2014, 7, 27), QTime(15, 20, 11), QTimeZone::utc());
    // 2.0 waits six days for group 6; the critical 3.0 does not wait, but is
    // a major upgrade, so it comes from the second pass.
    const auto found = bestOf("sparkle-test-phasedRollout.xml", context);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"3.0");
    EXPECT_TRUE(found->state.isMajorUpgrade);
    EXPECT_TRUE(found->state.isCritical);

    context.now = context.now.addDays(5);
    const auto due = bestOf("sparkle-test-phasedRollout.xml", context);
    ASSERT_TRUE(due);
    EXPECT_EQ(due->item.versionString, u"2.0");
}

TEST(AppcastFixtureFeed, OffersTheArmOnlySampleOnAppleSilicon) {
    EXPECT_EQ(offeredVersion("sparkle-test-arm64HardwareRequirement.xml", userCheck("1.0")),
              u"5.0");
}

TEST(AppcastFixtureFeed, OffersOnlyTheUnrestrictedSamplesOnIntel) {
    AppcastCheckContext context = userCheck("1.0");
    context.architecture = Architecture::x86_64;
    EXPECT_EQ(offeredVersion("sparkle-test-arm64HardwareRequirement.xml", context), u"2.1");
}
