#include "bundle_workshop.h"
#include "hostile_property_lists.h"
#include "test_property_list.h"

#include "core/logger.h"
#include "core/settings_store.h"
#include "discovery/application_reader.h"
#include "support/log_capture.h"
#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtConcurrent/QtConcurrentMap>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace tarnel;

namespace {

const QStringList english{QStringLiteral("en")};

class ApplicationReader : public ::testing::Test {
protected:
    std::optional<Application> read(const QString& bundlePath, const QStringList& languages = {}) {
        return createApplication(bundlePath, languages, logger);
    }

    // A bundle of a real application whose name in `language` is `localizedName`.
    QString localizedBundle(const QString& path, const QString& localizedName) {
        const QString bundle = workshop.addFixture(path);
        workshop.addStrings(
            bundle, QStringLiteral("en"),
            QStringLiteral("\"CFBundleDisplayName\" = \"%1\";\n").arg(localizedName).toUtf8());
        return bundle;
    }

    // The display name of a real bundle that an English user sees by this name.
    QString displayNameWhenLocalizedAs(const QString& localizedName) {
        const auto application =
            read(localizedBundle(QStringLiteral("Ice.app"), localizedName), english);
        return application ? application->displayName : QStringLiteral("(skipped)");
    }

    BundleWorkshop workshop;
    QTemporaryDir settingsFolder;
    SettingsStore settings{settingsFolder.filePath(QStringLiteral("settings.json"))};
    LogCapture capture;
    Logger logger{capture.sink(), settings, settingsFolder.path()};
};

}  // namespace

TEST_F(ApplicationReader, ReadsTheFactsOfARealBundle) {
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));

    const auto application = read(bundle);

    ASSERT_TRUE(application);
    EXPECT_EQ(application->name, QStringLiteral("Ice"));
    EXPECT_EQ(application->displayName, QStringLiteral("Ice"));
    EXPECT_EQ(application->bundlePath, bundle);
    EXPECT_EQ(application->bundleIdentifier, QStringLiteral("com.jordanbaird.Ice"));
    EXPECT_EQ(application->bundleVersion, QStringLiteral("1112"));
    EXPECT_EQ(application->shortVersion, QStringLiteral("0.11.12"));
    ASSERT_TRUE(application->sparkleInfo);
    EXPECT_EQ(application->sparkleInfo->feedURL,
              QStringLiteral("https://jordanbaird.github.io/ice-releases/appcast.xml"));
    EXPECT_EQ(application->sparkleInfo->publicKey,
              QStringLiteral("3nfIGMOD8DALPE8vIdFo2tUOIVc2MVbzhc+2J9JLn+Q="));
    EXPECT_FALSE(application->sparkleInfo->automaticallyUpdate);
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(ApplicationReader, LeavesWhatDiscoveryAddsEmpty) {
    const auto application = read(workshop.addFixture(QStringLiteral("Ice.app")));

    ASSERT_TRUE(application);
    EXPECT_FALSE(application->excluded);
    EXPECT_FALSE(application->adoptedCask);
    EXPECT_FALSE(application->alreadyAdopted);
    EXPECT_TRUE(application->caskOptions.isEmpty());
    EXPECT_FALSE(application->masApp);
}

TEST_F(ApplicationReader, GivesAnUppercaseUuidAsId) {
    const auto application = read(workshop.addFixture(QStringLiteral("Ice.app")));

    ASSERT_TRUE(application);
    static const QRegularExpression uuid(
        QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"));
    EXPECT_TRUE(uuid.match(application->id).hasMatch()) << application->id.toStdString();
}

TEST_F(ApplicationReader, GivesTheSameBundleReadTwiceTwoIds) {
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));

    const auto first = read(bundle);
    const auto second = read(bundle);

    ASSERT_TRUE(first && second);
    EXPECT_NE(first->id, second->id);
}

TEST_F(ApplicationReader, ReadsABinaryInfoPlistLikeItsXmlForm) {
    const QDir fixtures(fixturesDir() + QStringLiteral("/bundles"));
    for (const QString& fileName : fixtures.entryList({QStringLiteral("*.app")}, QDir::Dirs)) {
        const QString fixture = fileName.chopped(4);
        const QByteArray xml = fixtureInfoPlist(fixture);
        const QByteArray binary = TestPropertyList::fromData(xml).binary();
        auto fromXml = read(workshop.addBundle(QStringLiteral("xml/") + fileName, xml));
        auto fromBinary = read(workshop.addBundle(QStringLiteral("binary/") + fileName, binary));

        ASSERT_TRUE(fromXml && fromBinary) << fixture.toStdString();
        fromBinary->id = fromXml->id;
        fromBinary->bundlePath = fromXml->bundlePath;
        EXPECT_EQ(*fromBinary, *fromXml) << fixture.toStdString();
    }
}

TEST_F(ApplicationReader, SkipsABundleWithLauncherInItsFileNameWithoutALogLine) {
    EXPECT_FALSE(read(workshop.addFixture(QStringLiteral("Game Launcher.app"))));
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(ApplicationReader, SkipsEveryHelperWordInTheFileNameWhateverItsCase) {
    for (const QString& name :
         {QStringLiteral("Setup Installer.app"), QStringLiteral("UNINSTALL Tool.app"),
          QStringLiteral("AppUpdater.app"), QStringLiteral("launcher.app"),
          QStringLiteral("Foo Uninstaller.app")}) {
        EXPECT_FALSE(read(workshop.addFixture(name))) << name.toStdString();
    }
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(ApplicationReader, SkipsABundleWhoseLocalizedNameHoldsUpdater) {
    const QString bundle =
        localizedBundle(QStringLiteral("Harmless.app"), QStringLiteral("Harmless Updater"));

    EXPECT_TRUE(read(bundle));
    EXPECT_FALSE(read(bundle, english));
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(ApplicationReader, SkipsAnUninstallerWithoutInfoPlistSilently) {
    workshop.addFolder(QStringLiteral("Foo Uninstaller.app/Contents"));

    EXPECT_FALSE(read(workshop.pathOf(QStringLiteral("Foo Uninstaller.app"))));
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(ApplicationReader, WarnsWhenInfoPlistIsMissing) {
    workshop.addFolder(QStringLiteral("Empty.app/Contents"));

    EXPECT_FALSE(read(workshop.pathOf(QStringLiteral("Empty.app"))));
    EXPECT_TRUE(capture.contains(
        LogLevel::warning, QStringLiteral("No Info.plist found at %1/Empty.app/Contents/Info.plist")
                               .arg(workshop.root())));
}

TEST_F(ApplicationReader, WarnsWhenInfoPlistIsTruncated) {
    const QByteArray xml = fixtureInfoPlist(QStringLiteral("Ice"));
    const QString bundle = workshop.addBundle(QStringLiteral("Cut.app"), xml.left(xml.size() / 2));

    EXPECT_FALSE(read(bundle));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to read Info.plist for Cut.app")));
}

TEST_F(ApplicationReader, WarnsWhenABinaryInfoPlistIsTruncated) {
    const QByteArray binary =
        TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice"))).binary();
    const QString bundle =
        workshop.addBundle(QStringLiteral("Cut.app"), binary.left(binary.size() - 10));

    EXPECT_FALSE(read(bundle));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to read Info.plist for Cut.app")));
}

TEST_F(ApplicationReader, WarnsWhenInfoPlistRootIsAnArray) {
    const QString bundle = workshop.addBundle(
        QStringLiteral("List.app"),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<array>\n"
        "<string>CFBundleIdentifier</string>\n</array>\n</plist>\n");

    EXPECT_FALSE(read(bundle));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to read Info.plist for List.app")));
}

TEST_F(ApplicationReader, WarnsWhenInfoPlistIsNoPropertyList) {
    const QString bundle =
        workshop.addBundle(QStringLiteral("Noise.app"), QByteArray("\x00\xff\x13garbage", 10));

    EXPECT_FALSE(read(bundle));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to read Info.plist for Noise.app")));
}

// Valid as a binary property list, but larger than any real one.
TEST_F(ApplicationReader, WarnsWhenInfoPlistIsLargerThanAnyRealOne) {
    const QString contents = workshop.addFolder(QStringLiteral("Huge.app/Contents"));
    writeSparseBinary(contents + QStringLiteral("/Info.plist"), qint64(2) << 30);

    EXPECT_FALSE(read(workshop.pathOf(QStringLiteral("Huge.app"))));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to read Info.plist for Huge.app")));
}

TEST_F(ApplicationReader, WarnsWhenInfoPlistIsAFolder) {
    workshop.addFolder(QStringLiteral("Odd.app/Contents/Info.plist"));

    EXPECT_FALSE(read(workshop.pathOf(QStringLiteral("Odd.app"))));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to read Info.plist for Odd.app")));
}

TEST_F(ApplicationReader, WarnsWithoutWaitingWhenInfoPlistIsAPipe) {
    const QString contents = workshop.addFolder(QStringLiteral("Piped.app/Contents"));
    ASSERT_EQ(mkfifo(QFile::encodeName(contents + QStringLiteral("/Info.plist")).constData(), 0644),
              0);

    EXPECT_FALSE(read(workshop.pathOf(QStringLiteral("Piped.app"))));
    EXPECT_TRUE(capture.contains(LogLevel::warning,
                                 QStringLiteral("Failed to read Info.plist for Piped.app")));
}

TEST_F(ApplicationReader, WarnsWhenTheBundleNameIsNotUtf8) {
    // The scanner gives such a name with replacement characters, which name no file.
    const QString bundle = workshop.pathOf(QStringLiteral("Caf\uFFFD.app"));

    EXPECT_FALSE(read(bundle));
    EXPECT_TRUE(capture.contains(
        LogLevel::warning,
        QStringLiteral("No Info.plist found at %1/Contents/Info.plist").arg(bundle)));
}

TEST_F(ApplicationReader, ReadsABundleWithTheLongestName) {
    const QString fileName = QString(251, u'x') + QStringLiteral(".app");
    const auto application = read(workshop.addFixture(fileName));

    ASSERT_TRUE(application);
    EXPECT_EQ(application->name, QString(251, u'x'));
}

TEST_F(ApplicationReader, ReadsABundleWhoseStringsTableHasAKeyHoldingU0000) {
    const QString bundle = workshop.addFixture(QStringLiteral("Ice.app"));
    workshop.addStrings(bundle, QStringLiteral("en"), nulKeyBinary());

    const auto application = read(bundle, english);

    ASSERT_TRUE(application);
    EXPECT_EQ(application->displayName, QStringLiteral("Ice"));
}

TEST_F(ApplicationReader, ShowsTheFileNameWithoutExtensionWhenNotLocalized) {
    const auto application =
        read(workshop.addFixture(QStringLiteral("Sequel Ace.app"), QStringLiteral("Sequel Ace")));

    ASSERT_TRUE(application);
    EXPECT_EQ(application->name, QStringLiteral("Sequel Ace"));
    EXPECT_EQ(application->displayName, QStringLiteral("Sequel Ace"));
}

TEST_F(ApplicationReader, DropsOnlyTheLastExtensionFromTheName) {
    const auto application = read(workshop.addFixture(QStringLiteral("Tool.v2.app")));

    ASSERT_TRUE(application);
    EXPECT_EQ(application->name, QStringLiteral("Tool.v2"));
    EXPECT_EQ(application->displayName, QStringLiteral("Tool.v2"));
}

TEST_F(ApplicationReader, GivesTheLocalizedNameAsDisplayNameBesideTheFileName) {
    const auto application =
        read(localizedBundle(QStringLiteral("Ice.app"), QStringLiteral("Glace")), english);

    ASSERT_TRUE(application);
    EXPECT_EQ(application->name, QStringLiteral("Ice"));
    EXPECT_EQ(application->displayName, QStringLiteral("Glace"));
}

TEST_F(ApplicationReader, DropsATrailingDotAppFromTheLocalizedName) {
    EXPECT_EQ(displayNameWhenLocalizedAs(QStringLiteral("Glace.app")), QStringLiteral("Glace"));
}

TEST_F(ApplicationReader, KeepsDotAppInTheMiddleOfTheLocalizedName) {
    EXPECT_EQ(displayNameWhenLocalizedAs(QStringLiteral("Glace.app Studio")),
              QStringLiteral("Glace.app Studio"));
}

TEST_F(ApplicationReader, KeepsAnUppercaseDotAppAtTheEndOfTheLocalizedName) {
    EXPECT_EQ(displayNameWhenLocalizedAs(QStringLiteral("Glace.APP")), QStringLiteral("Glace.APP"));
}

TEST_F(ApplicationReader, GivesAnEmptyIdentifierWithoutCFBundleIdentifier) {
    const QByteArray plist = TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice")))
                                 .remove("CFBundleIdentifier")
                                 .xml();
    const auto application = read(workshop.addBundle(QStringLiteral("Ice.app"), plist));

    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleIdentifier, QString());
}

TEST_F(ApplicationReader, GivesUnknownVersionsWithoutVersionKeys) {
    const QByteArray plist = TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice")))
                                 .remove("CFBundleVersion")
                                 .remove("CFBundleShortVersionString")
                                 .xml();
    const auto application = read(workshop.addBundle(QStringLiteral("Ice.app"), plist));

    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleVersion, QStringLiteral("Unknown"));
    EXPECT_EQ(application->shortVersion, QStringLiteral("Unknown"));
}

TEST_F(ApplicationReader, TakesTheBundleVersionAsShortVersionWithoutOne) {
    const QByteArray plist = TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice")))
                                 .remove("CFBundleShortVersionString")
                                 .xml();
    const auto application = read(workshop.addBundle(QStringLiteral("Ice.app"), plist));

    ASSERT_TRUE(application);
    EXPECT_EQ(application->shortVersion, QStringLiteral("1112"));
}

TEST_F(ApplicationReader, TakesVersionsThatAreNotTextAsMissing) {
    const QByteArray plist = TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice")))
                                 .integer("CFBundleVersion", 1112)
                                 .boolean("CFBundleShortVersionString", true)
                                 .integer("CFBundleIdentifier", 7)
                                 .binary();
    const auto application = read(workshop.addBundle(QStringLiteral("Ice.app"), plist));

    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleVersion, QStringLiteral("Unknown"));
    EXPECT_EQ(application->shortVersion, QStringLiteral("Unknown"));
    EXPECT_EQ(application->bundleIdentifier, QString());
}

TEST_F(ApplicationReader, ReadsManyBundlesFromManyThreadsAtOnce) {
    QStringList bundles;
    for (int index = 0; index < 200; ++index) {
        const QString name = QStringLiteral("App %1.app").arg(index);
        const QByteArray xml = fixtureInfoPlist(QStringLiteral("Ice"));
        bundles.append(
            workshop.addBundle(name, index % 2 ? xml : TestPropertyList::fromData(xml).binary()));
    }
    bundles.append(workshop.pathOf(QStringLiteral("Missing.app")));

    const QList<std::optional<Application>> results = QtConcurrent::blockingMapped(
        bundles,
        [this](const QString& bundle) { return createApplication(bundle, english, logger); });

    QSet<QString> ids;
    for (qsizetype index = 0; index < 200; ++index) {
        ASSERT_TRUE(results[index]);
        EXPECT_EQ(results[index]->bundlePath, bundles[index]);
        ids.insert(results[index]->id);
    }
    EXPECT_FALSE(results.back());
    EXPECT_EQ(ids.size(), 200);
    EXPECT_EQ(capture.entries().size(), 1);
}
