#include "appcast/appcast_test_support.h"

#include "platform/appcast/appcast_selection.h"

#include <QTimeZone>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

using Reason = NoUpdateFound::Reason;
using Code = UpdaterError::Code;

AppcastItem item(const char* version, const char* title = "") {
    AppcastItem result;
    result.title = QString::fromUtf8(title);
    result.versionString = QString::fromUtf8(version);
    result.displayVersionString = result.versionString;
    result.enclosure.emplace().url =
        QUrl(QStringLiteral("https://dl.example.org/Editor_%1.zip").arg(result.versionString));
    return result;
}

AppcastItem withMinimumSystem(AppcastItem base, const char* version) {
    base.minimumSystemVersion = QString::fromUtf8(version);
    return base;
}

AppcastItem onChannel(AppcastItem base, const char* channel) {
    base.channel = QString::fromUtf8(channel);
    return base;
}

// The worked examples run as a user's check on the default channel of a
// machine at 13.5.0.
AppcastCheckContext exampleCheck(const char* hostVersion) {
    return userCheck(hostVersion, "13.5.0");
}

// A major 2.0 for hosts below 2.0, then a minor 1.9.4.
QList<AppcastItem> majorAndMinorItems() {
    AppcastItem major = item("2.0");
    major.minimumAutoupdateVersion = QStringLiteral("2.0");
    return {major, item("1.9.4")};
}

const QDateTime checkTime(QDate(2025, 3, 4), QTime(12, 0), QTimeZone::utc());

// An item rolled out a day per group, published `hoursAgo` before the check.
AppcastItem phasedItem(int hoursAgo) {
    AppcastItem phased = item("5");
    phased.phasedRolloutInterval = 86400;
    phased.date = checkTime.addSecs(-hoursAgo * 3600);
    return phased;
}

AppcastCheckContext backgroundCheck(quint32 updateGroupIdentifier) {
    AppcastCheckContext context = exampleCheck("3");
    context.checkKind = AppcastCheckContext::CheckKind::background;
    context.updateGroupIdentifier = updateGroupIdentifier;
    context.now = checkTime;
    return context;
}

std::optional<UpdateFound> foundIn(const AppcastSelection& selection) {
    const auto found = std::get_if<UpdateFound>(&selection);
    EXPECT_TRUE(found) << "no update was found";
    return found ? std::optional(*found) : std::nullopt;
}

// The version the check offers, or "none".
QString offeredVersion(const QList<AppcastItem>& items, const AppcastCheckContext& context) {
    const AppcastSelection selection = selectUpdate(items, context);
    const UpdateFound* found = std::get_if<UpdateFound>(&selection);
    return found ? found->item.versionString : QStringLiteral("none");
}

std::optional<NoUpdateFound> notFoundIn(const AppcastSelection& selection) {
    const auto notFound = std::get_if<NoUpdateFound>(&selection);
    EXPECT_TRUE(notFound) << "an update was found";
    return notFound ? std::optional(*notFound) : std::nullopt;
}

}  // namespace

TEST(AppcastSelection, OffersTheGreatestItemThatSuitsTheSystemAndChannel) {
    const QList<AppcastItem> items = {withMinimumSystem(item("200"), "14.0.0"), item("190"),
                                      onChannel(item("185"), "beta")};
    EXPECT_EQ(offeredVersion(items, exampleCheck("170")), u"190");
}

TEST(AppcastSelection, OffersAnAllowedChannelOnlyWhenItsItemIsGreater) {
    const QList<AppcastItem> items = {withMinimumSystem(item("200"), "14.0.0"), item("190"),
                                      onChannel(item("185"), "beta")};
    AppcastCheckContext context = exampleCheck("170");
    context.allowedChannels = {QStringLiteral("beta")};
    EXPECT_EQ(offeredVersion(items, context), u"190");
}

TEST(AppcastSelection, ReportsTheLatestItemWhenTheHostHasIt) {
    const auto notFound = notFoundIn(selectUpdate({item("200"), item("150")}, exampleCheck("200")));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->reason, Reason::onLatestVersion);
    EXPECT_EQ(notFound->latestItem, item("200"));
    EXPECT_TRUE(notFound->isUserInitiated);
}

TEST(AppcastSelection, ReportsASystemTooOldForTheLatestItem) {
    const auto notFound =
        notFoundIn(selectUpdate({withMinimumSystem(item("200"), "14.0.0")}, exampleCheck("150")));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->reason, Reason::systemIsTooOld);
    EXPECT_EQ(notFound->latestItem, withMinimumSystem(item("200"), "14.0.0"));
}

TEST(AppcastSelection, OffersAMinorUpdateBeforeAMajorUpgrade) {
    const auto found = foundIn(selectUpdate(majorAndMinorItems(), exampleCheck("1.9.3")));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"1.9.4");
    EXPECT_FALSE(found->state.isMajorUpgrade);
}

TEST(AppcastSelection, OffersAMajorUpgradeWhenNoMinorUpdateIsLeft) {
    const auto found = foundIn(selectUpdate(majorAndMinorItems(), exampleCheck("1.9.4")));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"2.0");
    EXPECT_TRUE(found->state.isMajorUpgrade);
}

TEST(AppcastSelection, OffersAnInformationalItemButRefusesToInstallIt) {
    AppcastItem informational = item("5");
    informational.enclosure.reset();
    informational.infoURL = QUrl(QStringLiteral("https://example.org/editor/5"));
    const auto found = foundIn(selectUpdate({informational, item("4")}, exampleCheck("3")));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.versionString, u"5");
    EXPECT_TRUE(found->state.isInformationOnly);
    ASSERT_TRUE(found->installRefusal);
    EXPECT_EQ(found->installRefusal->code(), Code::installation);
    EXPECT_TRUE(found->installRefusal->description().contains(u"https://example.org/editor/5"));
}

TEST(AppcastSelection, TakesTheFirstOfEqualVersions) {
    const auto found = foundIn(selectUpdate({item("5", "A"), item("5", "B")}, exampleCheck("3")));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->item.title, u"A");
}

TEST(AppcastSelection, ReportsNoLatestItemForAnEmptyFeed) {
    const auto notFound = notFoundIn(selectUpdate({}, exampleCheck("3")));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->reason, Reason::onLatestVersion);
    EXPECT_EQ(notFound->latestItem, std::nullopt);
}

TEST(AppcastSelection, NeverConsidersAnItemForAnotherSystem) {
    AppcastItem windows = item("9");
    windows.osString = QStringLiteral("windows");
    const auto notFound = notFoundIn(selectUpdate({windows}, exampleCheck("3")));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->reason, Reason::onLatestVersion);
    EXPECT_EQ(notFound->latestItem, std::nullopt);
}

TEST(AppcastSelection, HoldsBackAPhasedItemUntilTheHostsGroupIsDue) {
    const auto notFound = notFoundIn(selectUpdate({phasedItem(30)}, backgroundCheck(7 * 1000 + 2)));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->latestItem, std::nullopt);
    EXPECT_FALSE(notFound->isUserInitiated);
}

TEST(AppcastSelection, OffersAPhasedItemOnceTheHostsGroupIsDue) {
    EXPECT_TRUE(foundIn(selectUpdate({phasedItem(48)}, backgroundCheck(2))));
}

TEST(AppcastSelection, IgnoresPhasedRolloutInAUsersCheck) {
    AppcastCheckContext context = backgroundCheck(2);
    context.checkKind = AppcastCheckContext::CheckKind::userInitiated;
    EXPECT_TRUE(foundIn(selectUpdate({phasedItem(30)}, context)));
}

TEST(AppcastSelection, NeverHoldsBackACriticalItem) {
    AppcastItem critical = phasedItem(1);
    critical.isMarkedCritical = true;
    const auto found = foundIn(selectUpdate({critical}, backgroundCheck(6)));
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->state.isCritical);
}

TEST(AppcastSelection, ReportsAHostNewerThanTheLatestItem) {
    const auto notFound = notFoundIn(selectUpdate({item("150")}, exampleCheck("200")));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->reason, Reason::onNewerThanLatestVersion);
}

TEST(AppcastSelection, ReportsASystemTooNewForTheLatestItem) {
    AppcastItem old = item("200");
    old.maximumSystemVersion = QStringLiteral("12.0.0");
    const auto notFound = notFoundIn(selectUpdate({old}, exampleCheck("150")));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->reason, Reason::systemIsTooNew);
}

TEST(AppcastSelection, ReportsAMachineWithoutAppleSilicon) {
    AppcastItem arm = item("200");
    arm.hardwareRequirements = {QStringLiteral("arm64")};
    AppcastCheckContext context = exampleCheck("150");
    context.architecture = AppcastCheckContext::Architecture::x86_64;
    const auto notFound = notFoundIn(selectUpdate({arm}, context));
    ASSERT_TRUE(notFound);
    EXPECT_EQ(notFound->reason, Reason::hardwareDoesNotSupportARM64);
}

TEST(AppcastSelection, PassesOverAnItemAboveTheHostsReach) {
    AppcastItem stepped = item("300");
    stepped.minimumUpdateVersion = QStringLiteral("200");
    EXPECT_EQ(offeredVersion({stepped, item("200")}, exampleCheck("150")), u"200");
}

TEST(AppcastSelection, NeverOffersADelta) {
    AppcastItem delta = item("9");
    delta.deltaFrom = QStringLiteral("3");
    EXPECT_EQ(offeredVersion({delta, item("4")}, exampleCheck("3")), u"4");
}

TEST(AppcastSelection, RefusesToInstallADownloadThatIsNotHttps) {
    AppcastItem plain = item("5");
    plain.enclosure->url = QUrl(QStringLiteral("http://dl.example.org/Editor.zip"));
    const auto found = foundIn(selectUpdate({plain}, exampleCheck("3")));
    ASSERT_TRUE(found);
    ASSERT_TRUE(found->installRefusal);
    EXPECT_EQ(found->installRefusal->code(), Code::download);
}

TEST(AppcastSelection, RefusesToInstallAPackage) {
    AppcastItem package = item("5");
    package.installationType = AppcastItem::InstallationType::package;
    const auto found = foundIn(selectUpdate({package}, exampleCheck("3")));
    ASSERT_TRUE(found);
    ASSERT_TRUE(found->installRefusal);
    EXPECT_EQ(found->installRefusal->code(), Code::installation);
}

TEST(AppcastSelection, LeavesAnHttpsApplicationInstallable) {
    const auto found = foundIn(selectUpdate({item("5")}, exampleCheck("3")));
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->installRefusal.has_value());
}
