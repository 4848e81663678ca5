#include "bundle_workshop.h"
#include "test_property_list.h"

#include "core/logger.h"
#include "core/settings_store.h"
#include "discovery/applications_folder_reader.h"
#include "discovery/directory_listing_error.h"
#include "support/await.h"
#include "support/log_capture.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class ApplicationsFolderReader : public ::testing::Test {
protected:
    QList<Application> readFolder(const QString& root) {
        return await(readApplicationsFolder(root, {}, logger));
    }

    BundleWorkshop workshop;
    QTemporaryDir settingsFolder;
    SettingsStore settings{settingsFolder.filePath(QStringLiteral("settings.json"))};
    LogCapture capture;
    Logger logger{capture.sink(), settings, settingsFolder.path()};
};

QStringList namesOf(const QList<Application>& applications) {
    QStringList names;
    for (const Application& application : applications) {
        names.append(application.name);
    }
    return names;
}

}  // namespace

TEST_F(ApplicationsFolderReader, ReadsManyBundlesInTheOrderOfTheScan) {
    QStringList expected;
    const QByteArray xml = fixtureInfoPlist(QStringLiteral("Maccy"));
    const QByteArray binary = TestPropertyList::fromData(xml).binary();
    for (int index = 0; index < 100; ++index) {
        const QString name = QStringLiteral("App %1").arg(index, 3, 10, QChar(u'0'));
        workshop.addBundle(name + QStringLiteral(".app"), index % 2 ? binary : xml);
        expected.append(name);
    }

    EXPECT_EQ(namesOf(readFolder(workshop.root())), expected);
}

TEST_F(ApplicationsFolderReader, LeavesOutTheBundlesThatAreSkipped) {
    workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addFixture(QStringLiteral("Ice Updater.app"));
    workshop.addFolder(QStringLiteral("Empty.app"));
    workshop.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));

    EXPECT_EQ(namesOf(readFolder(workshop.root())),
              (QStringList{QStringLiteral("Ice"), QStringLiteral("Maccy")}));
    EXPECT_TRUE(capture.contains(
        LogLevel::warning, QStringLiteral("No Info.plist found at %1/Empty.app/Contents/Info.plist")
                               .arg(workshop.root())));
}

TEST_F(ApplicationsFolderReader, GivesALinkedBundleTheTargetPath) {
    const QString target = workshop.addFixture(workshop.elsewhere() + QStringLiteral("/Ice.app"));
    workshop.addLink(QStringLiteral("Ice.app"), target);

    const QList<Application> applications = readFolder(workshop.root());

    ASSERT_EQ(applications.size(), 1);
    EXPECT_EQ(applications[0].bundlePath, QFileInfo(target).canonicalFilePath());
}

TEST_F(ApplicationsFolderReader, GivesABundleReachedTwiceTwoApplicationsWithTwoIds) {
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addLink(QStringLiteral("Another Ice.app"), bundle);

    const QList<Application> applications = readFolder(workshop.root());

    ASSERT_EQ(applications.size(), 2);
    EXPECT_EQ(applications[0].bundleIdentifier, applications[1].bundleIdentifier);
    EXPECT_NE(applications[0].id, applications[1].id);
}

TEST_F(ApplicationsFolderReader, ReadsAnEmptyFolderAsNoApplications) {
    EXPECT_TRUE(readFolder(workshop.root()).isEmpty());
}

TEST_F(ApplicationsFolderReader, ThrowsTheListingErrorOfAMissingFolder) {
    EXPECT_THROW(readFolder(workshop.pathOf(QStringLiteral("Missing"))), DirectoryListingError);
}
