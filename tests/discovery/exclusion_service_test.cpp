#include "discovery/exclusion_service.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "support/log_capture.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using tarnel::Application;
using tarnel::applyExclusions;
using tarnel::Logger;
using tarnel::LogLevel;
using tarnel::SettingsStore;

namespace {

const QString exclusionsKey = QStringLiteral("excludedApplications");

Application applicationWith(const QString& bundleIdentifier, const QString& displayName,
                            const QString& bundlePath = QString()) {
    Application application;
    application.id = bundlePath + displayName;
    application.displayName = displayName;
    application.bundleIdentifier = bundleIdentifier;
    application.bundlePath = bundlePath;
    return application;
}

class ExclusionService : public ::testing::Test {
protected:
    QString settingsPath() const { return folder.filePath(QStringLiteral("settings.json")); }

    void expectIncludedWithNothingLeft(const tarnel::ExclusionService& service) const {
        EXPECT_TRUE(service.userExclusions().isEmpty());
        EXPECT_EQ(settings.stringListValue(exclusionsKey), QStringList());
        EXPECT_EQ(capture.lines(),
                  (QStringList{QStringLiteral("[INFO] Saved 0 user exclusions"),
                               QStringLiteral("[INFO] Included application: Maccy")}));
    }

    QTemporaryDir folder;
    SettingsStore settings{settingsPath()};
    LogCapture capture;
    Logger logger{capture.sink(), settings, folder.path()};
    const Application maccy =
        applicationWith(QStringLiteral("org.p0deje.Maccy"), QStringLiteral("Maccy"));
};

}  // namespace

TEST_F(ExclusionService, HoldsExactlyTheThreeHardCodedIdentifiers) {
    const tarnel::ExclusionService service(logger, settings);

    EXPECT_EQ(
        service.hardCodedExclusions(),
        (QSet<QString>{QStringLiteral("app.tarnel.Tarnel"), QStringLiteral("com.apple.Safari"),
                       QStringLiteral("com.apple.appleseed.FeedbackAssistant")}));
}

TEST_F(ExclusionService, LoadsNothingWhenNothingIsStored) {
    const tarnel::ExclusionService service(logger, settings);

    EXPECT_TRUE(service.userExclusions().isEmpty());
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Loaded 0 user exclusions")));
}

TEST_F(ExclusionService, ExcludesAndLogs) {
    tarnel::ExclusionService service(logger, settings);

    service.excludeApplication(maccy);

    EXPECT_EQ(service.userExclusions(), QSet<QString>{QStringLiteral("org.p0deje.Maccy")});
    EXPECT_EQ(settings.stringListValue(exclusionsKey),
              QStringList{QStringLiteral("org.p0deje.Maccy")});
    EXPECT_EQ(capture.lines().mid(1),
              (QStringList{QStringLiteral("[INFO] Saved 1 user exclusions"),
                           QStringLiteral("[INFO] Excluded application: Maccy")}));
}

TEST_F(ExclusionService, KeepsAnExclusionAcrossARestart) {
    tarnel::ExclusionService(logger, settings).excludeApplication(maccy);
    capture.clear();

    SettingsStore reopened(settingsPath());
    const tarnel::ExclusionService restarted(logger, reopened);

    EXPECT_EQ(restarted.userExclusions(), QSet<QString>{QStringLiteral("org.p0deje.Maccy")});
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Loaded 1 user exclusions")));
}

TEST_F(ExclusionService, ReadsAStoredValueThatIsNoListAsEmpty) {
    settings.setString(exclusionsKey, QStringLiteral("org.p0deje.Maccy"));

    const tarnel::ExclusionService service(logger, settings);

    EXPECT_TRUE(service.userExclusions().isEmpty());
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Loaded 0 user exclusions")));
}

TEST_F(ExclusionService, ReadsAStoredListWithOtherThanTextAsEmpty) {
    const QString mixedPath = folder.filePath(QStringLiteral("mixed.json"));
    QFile file(mixedPath);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"excludedApplications": ["org.p0deje.Maccy", 7]})");
    file.close();
    SettingsStore mixed(mixedPath);

    const tarnel::ExclusionService service(logger, mixed);

    EXPECT_TRUE(service.userExclusions().isEmpty());
}

TEST_F(ExclusionService, IncludesAndLogs) {
    tarnel::ExclusionService service(logger, settings);
    service.excludeApplication(maccy);
    capture.clear();

    service.includeApplication(maccy);

    expectIncludedWithNothingLeft(service);
}

TEST_F(ExclusionService, IncludingAnApplicationNeverExcludedStillSavesAndLogs) {
    tarnel::ExclusionService service(logger, settings);
    capture.clear();

    service.includeApplication(maccy);

    expectIncludedWithNothingLeft(service);
}

TEST_F(ExclusionService, LoadsAgainFromTheSettings) {
    tarnel::ExclusionService service(logger, settings);
    settings.setStringList(exclusionsKey,
                           {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a")});

    service.loadUserExclusions();

    EXPECT_EQ(service.userExclusions(), (QSet<QString>{QStringLiteral("a"), QStringLiteral("b")}));
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Loaded 2 user exclusions")));
}

TEST_F(ExclusionService, HasNoUseForAHardCodedIdentifierAmongTheStoredOnes) {
    settings.setStringList(exclusionsKey, {QStringLiteral("com.apple.Safari")});
    const tarnel::ExclusionService service(logger, settings);

    const auto result = applyExclusions(
        {applicationWith(QStringLiteral("com.apple.Safari"), QStringLiteral("Safari"))},
        service.hardCodedExclusions(), service.userExclusions());

    EXPECT_TRUE(result.isEmpty());
}

TEST(ApplyExclusions, ExcludesBothCopiesOfOneApplication) {
    const QList<Application> applications{
        applicationWith(QStringLiteral("org.p0deje.Maccy"), QStringLiteral("Maccy"),
                        QStringLiteral("/A/Maccy.app")),
        applicationWith(QStringLiteral("org.p0deje.Maccy"), QStringLiteral("Maccy"),
                        QStringLiteral("/B/Maccy.app")),
        applicationWith(QStringLiteral("com.jordanbaird.Ice"), QStringLiteral("Ice"))};

    const auto result = applyExclusions(applications, {}, {QStringLiteral("org.p0deje.Maccy")});

    ASSERT_EQ(result.size(), 3);
    EXPECT_TRUE(result[0].excluded);
    EXPECT_TRUE(result[1].excluded);
    EXPECT_FALSE(result[2].excluded);
}

TEST(ApplyExclusions, DropsHardCodedApplicationsEvenWhenTheUserExcludedThem) {
    const QString safari = QStringLiteral("com.apple.Safari");
    const QList<Application> applications{
        applicationWith(safari, QStringLiteral("Safari")),
        applicationWith(QStringLiteral("com.jordanbaird.Ice"), QStringLiteral("Ice"))};

    const auto result = applyExclusions(applications, {safari}, {safari});

    ASSERT_EQ(result.size(), 1);
    EXPECT_EQ(result[0].displayName, QStringLiteral("Ice"));
    EXPECT_FALSE(result[0].excluded);
}

TEST(ApplyExclusions, ComparesWholeIdentifiersWithCase) {
    const QList<Application> applications{
        applicationWith(QStringLiteral("com.apple.safari"), QStringLiteral("Lower")),
        applicationWith(QStringLiteral("com.apple.Safari.Helper"), QStringLiteral("Longer")),
        applicationWith(QStringLiteral("ORG.P0DEJE.MACCY"), QStringLiteral("Upper"))};

    const auto result = applyExclusions(applications, {QStringLiteral("com.apple.Safari")},
                                        {QStringLiteral("org.p0deje.Maccy")});

    ASSERT_EQ(result.size(), 3);
    EXPECT_FALSE(result[0].excluded || result[1].excluded || result[2].excluded);
}

TEST(ApplyExclusions, ExcludesEveryApplicationWithoutIdentifierOnceTheUserExcludedOne) {
    const QList<Application> applications{applicationWith(QString(), QStringLiteral("First")),
                                          applicationWith(QString(), QStringLiteral("Second"))};

    const auto result = applyExclusions(applications, {}, {QString()});

    ASSERT_EQ(result.size(), 2);
    EXPECT_TRUE(result[0].excluded && result[1].excluded);
}

TEST(ApplyExclusions, ClearsTheMarkOfAnApplicationNoLongerExcluded) {
    Application ice = applicationWith(QStringLiteral("com.jordanbaird.Ice"), QStringLiteral("Ice"));
    ice.excluded = true;

    const auto result = applyExclusions({ice}, {}, {});

    ASSERT_EQ(result.size(), 1);
    EXPECT_FALSE(result[0].excluded);
}
