#include "core/records/application.h"
#include "core/records/badge_display_mode.h"
#include "core/records/brew_update.h"
#include "core/records/theme.h"
#include "core/records/update_state.h"

#include <QSet>
#include <QUuid>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace tarnel;

namespace {

Cask caskNamed(const QString& token) {
    Cask cask;
    cask.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    cask.name = token;
    cask.version = QStringLiteral("1.0");
    cask.rawVersion = cask.version;
    return cask;
}

Application plainApplication() {
    Application application;
    application.id = QStringLiteral("A");
    application.name = QStringLiteral("Foo");
    application.displayName = QStringLiteral("Foo");
    application.bundlePath = QStringLiteral("/Applications/Foo.app");
    application.bundleIdentifier = QStringLiteral("com.example.foo");
    application.bundleVersion = QStringLiteral("1");
    application.shortVersion = QStringLiteral("1.0");
    return application;
}

}  // namespace

TEST(Application, ExcludedComesBeforeTheStoreInTheListStatus) {
    Application application = plainApplication();
    application.excluded = true;
    application.masApp = MASApp{QStringLiteral("1"), QStringLiteral("Foo"), QStringLiteral("1.0")};
    EXPECT_EQ(application.listStatus(), ApplicationRowStatus::excluded);
}

TEST(Application, TheStoreComesBeforeHomebrewInTheListStatus) {
    Application application = plainApplication();
    application.masApp = MASApp{QStringLiteral("1"), QStringLiteral("Foo"), QStringLiteral("1.0")};
    application.alreadyAdopted = true;
    application.adoptedCask = caskNamed(QStringLiteral("foo"));
    EXPECT_EQ(application.listStatus(), ApplicationRowStatus::managedByMacAppStore);
}

TEST(Application, AnAdoptedApplicationIsManagedByHomebrew) {
    Application application = plainApplication();
    application.alreadyAdopted = true;
    application.adoptedCask = caskNamed(QStringLiteral("foo"));
    EXPECT_EQ(application.listStatus(), ApplicationRowStatus::managedByHomebrew);
}

TEST(Application, WithoutOptionsOrCaskTheStatusIsNone) {
    EXPECT_EQ(plainApplication().listStatus(), ApplicationRowStatus::none);
    EXPECT_TRUE(helpText(ApplicationRowStatus::none).isEmpty());
}

TEST(Application, WithOptionsItIsAvailableForAdoption) {
    Application application = plainApplication();
    application.caskOptions = {caskNamed(QStringLiteral("foo"))};
    EXPECT_EQ(application.listStatus(), ApplicationRowStatus::availableForAdoption);
    EXPECT_EQ(helpText(application.listStatus()), QStringLiteral("Available for adoption"));
}

TEST(Application, OneCaskOptionLeavesNoOtherOptions) {
    Application application = plainApplication();
    application.caskOptions = {caskNamed(QStringLiteral("foo"))};
    EXPECT_TRUE(application.otherCaskOptions().isEmpty());
}

TEST(Application, OtherOptionsAreAllButTheFirst) {
    Application application = plainApplication();
    application.caskOptions = {caskNamed(QStringLiteral("foo")), caskNamed(QStringLiteral("bar")),
                               caskNamed(QStringLiteral("baz"))};
    const auto others = application.otherCaskOptions();
    ASSERT_EQ(others.size(), 2);
    EXPECT_EQ(others[0].name, QStringLiteral("bar"));
    EXPECT_EQ(others[1].name, QStringLiteral("baz"));
}

TEST(Application, AnAdoptedCaskKeepsEveryOptionAsAnOtherOption) {
    Application application = plainApplication();
    application.adoptedCask = caskNamed(QStringLiteral("foo"));
    application.caskOptions = {caskNamed(QStringLiteral("foo")), caskNamed(QStringLiteral("bar"))};
    EXPECT_EQ(application.otherCaskOptions(), application.caskOptions);
}

TEST(Application, TwoRecordsOfOneBundleWithDifferentIdsAreUnequal) {
    Application first = plainApplication();
    Application second = first;
    EXPECT_EQ(first, second);
    EXPECT_EQ(qHash(first), qHash(second));
    second.id = QStringLiteral("B");
    EXPECT_NE(first, second);
}

TEST(Application, EqualityAndHashCoverEveryField) {
    const Application base = plainApplication();
    SparkleInfo feed;
    feed.feedURL = QStringLiteral("https://example.com/feed.xml");
    const Cask cask = caskNamed(QStringLiteral("foo"));
    const MASApp store{QStringLiteral("1"), QStringLiteral("Foo"), QStringLiteral("1.0")};
    // One change per field, in the order of declaration.
    const std::vector<std::pair<std::string, std::function<void(Application&)>>> changes{
        {"id", [](Application& a) { a.id = QStringLiteral("B"); }},
        {"name", [](Application& a) { a.name = QStringLiteral("Bar"); }},
        {"displayName", [](Application& a) { a.displayName = QStringLiteral("Bar"); }},
        {"bundlePath",
         [](Application& a) { a.bundlePath = QStringLiteral("/Applications/B.app"); }},
        {"bundleIdentifier", [](Application& a) { a.bundleIdentifier = QStringLiteral("com.b"); }},
        {"bundleVersion", [](Application& a) { a.bundleVersion = QStringLiteral("2"); }},
        {"shortVersion", [](Application& a) { a.shortVersion = QStringLiteral("2.0"); }},
        {"sparkleInfo", [&](Application& a) { a.sparkleInfo = feed; }},
        {"excluded", [](Application& a) { a.excluded = true; }},
        {"adoptedCask", [&](Application& a) { a.adoptedCask = cask; }},
        {"alreadyAdopted", [](Application& a) { a.alreadyAdopted = true; }},
        {"caskOptions", [&](Application& a) { a.caskOptions = {cask}; }},
        {"masApp", [&](Application& a) { a.masApp = store; }},
    };
    ASSERT_EQ(changes.size(), 13U);
    for (const auto& [field, change] : changes) {
        Application changed = base;
        change(changed);
        EXPECT_NE(base, changed) << field;
        EXPECT_NE(qHash(base), qHash(changed)) << field;
    }
}

TEST(Cask, TwoValuesOfOneTokenFromTwoFetchesAreUnequal) {
    const Cask first = caskNamed(QStringLiteral("firefox"));
    const Cask second = caskNamed(QStringLiteral("firefox"));
    EXPECT_EQ(first.name, second.name);
    EXPECT_NE(first, second);
}

TEST(Cask, ZeroAndNegativeZeroConfidenceHashAlike) {
    Cask positive = caskNamed(QStringLiteral("foo"));
    positive.confidence = 0.0;
    Cask negative = positive;
    negative.confidence = -0.0;
    EXPECT_EQ(positive, negative);
    EXPECT_EQ(qHash(positive), qHash(negative));
}

TEST(Cask, HashesDifferWhenAFieldDiffers) {
    Cask first = caskNamed(QStringLiteral("foo"));
    Cask second = first;
    second.uninstallPaths = {QStringLiteral("/Applications/Foo.app")};
    QSet<Cask> set{first, second};
    EXPECT_EQ(set.size(), 2);
}

TEST(InstallerType, RawValuesRoundTrip) {
    for (const InstallerType type : allInstallerTypes) {
        EXPECT_EQ(installerTypeFromRawValue(rawValue(type)), type);
    }
    EXPECT_EQ(rawValue(InstallerType::manual), QStringLiteral("manual"));
    EXPECT_FALSE(installerTypeFromRawValue(QStringLiteral("zip")).has_value());
}

TEST(UpdateState, DownloadingComparesBothSizes) {
    EXPECT_EQ(UpdateState::downloading(1, 10), UpdateState::downloading(1, 10));
    EXPECT_NE(UpdateState::downloading(1, 10), UpdateState::downloading(1, 11));
    EXPECT_NE(UpdateState::downloading(2, 10), UpdateState::downloading(1, 10));
}

TEST(UpdateState, ExtractingComparesProgressAndErrorComparesText) {
    EXPECT_EQ(UpdateState::extracting(0.5), UpdateState::extracting(0.5));
    EXPECT_NE(UpdateState::extracting(0.5), UpdateState::extracting(0.6));
    EXPECT_EQ(UpdateState::error(QStringLiteral("x")), UpdateState::error(QStringLiteral("x")));
    EXPECT_NE(UpdateState::error(QStringLiteral("x")), UpdateState::error(QStringLiteral("y")));
    EXPECT_NE(UpdateState::installing(), UpdateState::completed());
    EXPECT_EQ(UpdateState(), UpdateState::none());
}

TEST(Theme, RawValuesAreTheLabels) {
    EXPECT_EQ(rawValue(Theme::system), QStringLiteral("Auto"));
    EXPECT_EQ(themeFromRawValue(QStringLiteral("Dark")), Theme::dark);
    EXPECT_FALSE(themeFromRawValue(QStringLiteral("dark")).has_value());
}

TEST(BadgeDisplayMode, AnyTextButUpdatesReadsAsTheDefault) {
    EXPECT_EQ(badgeDisplayModeFromStoredValue(QStringLiteral("Updates")),
              BadgeDisplayMode::updates);
    EXPECT_EQ(badgeDisplayModeFromStoredValue(QStringLiteral("updates")),
              BadgeDisplayMode::adoptionsAvailable);
    EXPECT_EQ(badgeDisplayModeFromStoredValue(QString()), BadgeDisplayMode::adoptionsAvailable);
    EXPECT_EQ(rawValue(BadgeDisplayMode::adoptionsAvailable), QStringLiteral("Casks (Default)"));
}

TEST(BrewUpdateType, ComparesByRawText) {
    const std::array types{BrewUpdate::UpdateType::caskUpdate, BrewUpdate::UpdateType::appUpdate,
                           BrewUpdate::UpdateType::bothUpdate};
    for (const auto first : types) {
        for (const auto second : types) {
            EXPECT_EQ(first == second, rawValue(first) == rawValue(second));
        }
    }
    EXPECT_EQ(updateTypeFromRawValue(QStringLiteral("App Update")),
              BrewUpdate::UpdateType::appUpdate);
    EXPECT_NE(updateTypeFromRawValue(QStringLiteral("Both Update")),
              BrewUpdate::UpdateType::caskUpdate);
}

TEST(BrewUpdate, RecordsThatDifferOnlyInTheirTypeAreUnequal) {
    BrewUpdate cask;
    cask.caskName = QStringLiteral("foo");
    BrewUpdate both = cask;
    EXPECT_EQ(cask, both);
    both.updateType = BrewUpdate::UpdateType::bothUpdate;
    EXPECT_NE(cask, both);
    EXPECT_NE(qHash(cask), qHash(both));
}

TEST(ApplicationRowStatus, EveryStatusHasItsHelpText) {
    const std::vector<std::pair<ApplicationRowStatus, QString>> texts{
        {ApplicationRowStatus::managedByHomebrew, QStringLiteral("Managed by Homebrew")},
        {ApplicationRowStatus::availableForAdoption, QStringLiteral("Available for adoption")},
        {ApplicationRowStatus::homebrewCask, QStringLiteral("Homebrew Cask")},
        {ApplicationRowStatus::customCask, QStringLiteral("Custom Cask")},
        {ApplicationRowStatus::excluded, QStringLiteral("Excluded from discovery")},
        {ApplicationRowStatus::updateRequiresAdmin,
         QStringLiteral("Update requires administrator privileges")},
        {ApplicationRowStatus::updateAvailable, QStringLiteral("Update available")},
        {ApplicationRowStatus::managedByMacAppStore, QStringLiteral("Managed by Mac App Store")},
        {ApplicationRowStatus::none, QString()},
    };
    ASSERT_EQ(texts.size(), allApplicationRowStatuses.size());
    for (std::size_t index = 0; index < texts.size(); ++index) {
        EXPECT_EQ(allApplicationRowStatuses[index], texts[index].first) << index;
        EXPECT_EQ(helpText(texts[index].first), texts[index].second) << index;
    }
}
