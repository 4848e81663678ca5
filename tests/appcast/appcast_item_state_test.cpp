#include "platform/appcast/appcast_item_state.h"

#include "appcast/appcast_test_support.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

AppcastItem downloadableItem() {
    AppcastItem item;
    item.versionString = QStringLiteral("3.0");
    item.enclosure.emplace().url = QUrl(QStringLiteral("https://dl.example.org/A.zip"));
    return item;
}

}  // namespace

TEST(AppcastItemState, CallsAnItemWithoutLinkNeverInformational) {
    AppcastItem item = downloadableItem();
    item.informationalUpdate = InformationalUpdateRule{};
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("1.0")).isInformationOnly);
}

TEST(AppcastItemState, CallsAnItemWithALinkAndADownloadInformationalOnlyWhenMarked) {
    AppcastItem item = downloadableItem();
    item.infoURL = QUrl(QStringLiteral("https://example.org"));
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("1.0")).isInformationOnly);
    item.informationalUpdate = InformationalUpdateRule{};
    EXPECT_TRUE(resolveAppcastItemState(item, userCheck("1.0")).isInformationOnly);
}

TEST(AppcastItemState, CallsAnItemInformationalForListedAndLowerHosts) {
    AppcastItem item = downloadableItem();
    item.infoURL = QUrl(QStringLiteral("https://example.org"));
    item.informationalUpdate = InformationalUpdateRule{
        {QStringLiteral("2.5"), QStringLiteral("2.4")}, {QStringLiteral("0.5")}};
    EXPECT_TRUE(resolveAppcastItemState(item, userCheck("2.4")).isInformationOnly);
    EXPECT_TRUE(resolveAppcastItemState(item, userCheck("0.4")).isInformationOnly);
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("2.6")).isInformationOnly);
    // The listed versions are matched as text, not by the comparator.
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("2.4.0")).isInformationOnly);
}

TEST(AppcastItemState, CallsAnItemCriticalBelowItsCriticalVersion) {
    AppcastItem item = downloadableItem();
    item.isMarkedCritical = true;
    item.criticalBelowVersion = QStringLiteral("1.5");
    EXPECT_TRUE(resolveAppcastItemState(item, userCheck("1.0")).isCritical);
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("1.5")).isCritical);
}

TEST(AppcastItemState, CallsAnItemAMajorUpgradeBelowItsMinimumAutoupdateVersion) {
    AppcastItem item = downloadableItem();
    item.minimumAutoupdateVersion = QStringLiteral("2.0");
    EXPECT_TRUE(resolveAppcastItemState(item, userCheck("1.9")).isMajorUpgrade);
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("2.0")).isMajorUpgrade);
}

TEST(AppcastItemState, AcceptsTheSystemAtEitherLimit) {
    AppcastItem item = downloadableItem();
    item.minimumSystemVersion = QStringLiteral("15.0");
    item.maximumSystemVersion = QStringLiteral("15.0.0");
    EXPECT_TRUE(resolveAppcastItemState(item, userCheck("1.0")).passesSystemTests());
    item.minimumSystemVersion = QStringLiteral("15.0.1");
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("1.0")).isMinimumSystemVersionOK);
    item.maximumSystemVersion = QStringLiteral("14.9");
    EXPECT_FALSE(resolveAppcastItemState(item, userCheck("1.0")).isMaximumSystemVersionOK);
}

TEST(AppcastItemState, TakesASystemMinimumFrom27OnAsNeedingAppleSilicon) {
    AppcastItem item = downloadableItem();
    item.minimumSystemVersion = QStringLiteral("27.0");
    AppcastCheckContext context = userCheck("1.0");
    context.architecture = AppcastCheckContext::Architecture::x86_64;
    EXPECT_FALSE(resolveAppcastItemState(item, context).isHardwareSupported);
    context.architecture = AppcastCheckContext::Architecture::arm64;
    EXPECT_TRUE(resolveAppcastItemState(item, context).isHardwareSupported);
}
