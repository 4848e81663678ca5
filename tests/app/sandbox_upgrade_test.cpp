#include "sandbox_fixture.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>

// `upgrade` end to end: one pending update of each source is installed by the
// sandbox's `brew`, `mas` and feeds, and the next search no longer finds it.
namespace {

class SandboxUpgrade : public SandboxFixture {
protected:
    // Every entry of the bundle with its kind and contents, to tell whether
    // anything changed.
    QStringList listing(const QString& path) const {
        QStringList entries;
        QDirIterator walk(path,
                          QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            const QString entry = walk.next();
            QFile file(entry);
            const QByteArray contents =
                walk.fileInfo().isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : "";
            entries << entry + u' ' + QString::number(int(walk.fileInfo().permissions())) + u' ' +
                           walk.fileInfo().symLinkTarget() + u' ' +
                           QString::fromUtf8(contents.toHex());
        }
        entries.sort();
        return entries;
    }
};

TEST_F(SandboxUpgrade, AFeedUpdateIsInstalledAndNoLongerListed) {
    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Itsycal")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Updated Itsycal from 0.15.5.1551 to 0.15.6.1560 via Sparkle\n");
    EXPECT_EQ(bundleRecord(QStringLiteral("Itsycal"))[u"bundleVersion"_qs], u"1560"_qs);
    EXPECT_FALSE(pendingUpdates(u"sparkleUpdates"_qs, u"bundleIdentifier"_qs)
                     .contains(u"com.mowglii.ItsycalApp"_qs));
}

TEST_F(SandboxUpgrade, ATarReleaseKeepsTheLinksOfItsBundle) {
    // The sandbox's user skipped this release once.
    clearSkippedVersions();

    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Hammerspoon")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(QFile::symLinkTarget(bundle(QStringLiteral("Hammerspoon")) +
                                   QStringLiteral("/Contents/Resources/latest-notes.txt"))
                  .section(u'/', -1),
              QStringLiteral("notes.txt"));
}

TEST_F(SandboxUpgrade, AHomebrewUpdateIsInstalledAndNoLongerListed) {
    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Rectangle")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Updated Rectangle from 0.85 to 0.98 via Homebrew\n");
    const QList<BrewRun> upgrades = brewRuns(QStringLiteral("upgrade"));
    ASSERT_EQ(upgrades.size(), 1);
    EXPECT_EQ(upgrades.first().arguments, (QStringList{u"upgrade"_qs, u"--cask"_qs, u"--force"_qs,
                                                       u"rectangle"_qs, u"--no-quarantine"_qs}));
    EXPECT_EQ(bundleRecord(QStringLiteral("Rectangle"))[u"shortVersion"_qs], u"0.98"_qs);
    EXPECT_FALSE(pendingUpdates(u"brewUpdates"_qs, u"caskName"_qs).contains(u"rectangle"_qs));
}

TEST_F(SandboxUpgrade, AStoreUpdateIsInstalledAndNoLongerListed) {
    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Hidden Bar")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Updated Hidden Bar from 1.0 to 1.9 via Mac App Store\n");
    EXPECT_EQ(bundleRecord(QStringLiteral("Hidden Bar"))[u"shortVersion"_qs], u"1.9"_qs);
    EXPECT_TRUE(pendingUpdates(u"masUpdates"_qs, u"appId"_qs).isEmpty());
}

TEST_F(SandboxUpgrade, AHomebrewUpdateComesBeforeAStoreUpdateOfTheSameApplication) {
    // Homebrew manages the store's application too, one version behind its cask.
    setBrewInstalled(QStringLiteral("hiddenbar"), QStringLiteral("1.0"));

    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Hidden Bar")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Updated Hidden Bar from 1.0 to 1.9 via Homebrew\n");
    EXPECT_EQ(pendingUpdates(u"masUpdates"_qs, u"appId"_qs), QStringList{u"1452453066"_qs});
}

TEST_F(SandboxUpgrade, AnApplicationWithNothingPendingIsLeftAsItIs) {
    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Loop")});

    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "No update is pending for Loop\n");
}

TEST_F(SandboxUpgrade, AnArchiveSignedWithAnotherKeyIsRefusedAndTheBundleKept) {
    const QStringList before = listing(bundle(QStringLiteral("Ice")));

    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Ice")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.isEmpty());
    const QByteArray failure = result.errors.trimmed().split('\n').last();
    EXPECT_TRUE(failure.startsWith("tarnel-cli upgrade: ")) << result.errors.toStdString();
    EXPECT_TRUE(failure.contains("signature")) << result.errors.toStdString();
    EXPECT_EQ(listing(bundle(QStringLiteral("Ice"))), before);
}

TEST_F(SandboxUpgrade, AFailedHomebrewUpgradeWithoutThePermissionAsksForIt) {
    setBrewBehaviour(QStringLiteral("upgrade"),
                     QJsonObject{{u"exitStatus"_qs, 1}, {u"standardError"_qs, u"Error: no"_qs}});

    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Rectangle")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli upgrade: Administrator privileges required but permission not "
        "granted\n"))
        << result.errors.toStdString();
    EXPECT_EQ(brewRuns(QStringLiteral("upgrade")).size(), 1);
}

TEST_F(SandboxUpgrade, TheStoredPermissionLetsAFailedHomebrewUpgradeRetryWithThePassword) {
    setSetting(QStringLiteral("hasAdminPasswordPermission"), true);
    setBrewBehaviour(QStringLiteral("upgrade"),
                     QJsonObject{{u"exitStatus"_qs, 1}, {u"standardError"_qs, u"Error: no"_qs}});

    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Rectangle")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.contains("Error: no")) << result.errors.toStdString();
    const QList<BrewRun> upgrades = brewRuns(QStringLiteral("upgrade"));
    ASSERT_EQ(upgrades.size(), 2);
    EXPECT_FALSE(upgrades.at(0).hadAskpass);
    EXPECT_TRUE(upgrades.at(1).hadAskpass);
}

TEST_F(SandboxUpgrade, PipedItPrintsNoProgressAndOnATerminalItDoes) {
    const CliResult piped = cli({QStringLiteral("upgrade"), QStringLiteral("Itsycal")});
    ASSERT_EQ(piped.exitCode, 0) << piped.errors.toStdString();
    // The progress bar draws with carriage returns.
    EXPECT_FALSE(piped.errors.contains('\r')) << piped.errors.toStdString();

    const CliResult shown = cliOnTerminal({QStringLiteral("upgrade"), QStringLiteral("Rectangle")});
    ASSERT_EQ(shown.exitCode, 0) << shown.errors.toStdString();
    EXPECT_TRUE(shown.errors.contains("\rInstalling")) << shown.errors.toStdString();
    EXPECT_EQ(shown.output, "Updated Rectangle from 0.85 to 0.98 via Homebrew\n");
}

TEST_F(SandboxUpgrade, ANameThatMatchesSeveralApplicationsListsThem) {
    const QString copy = inSandbox(QStringLiteral("Applications/Utilities/Itsycal Copy.app"));
    ASSERT_EQ(runCli(QStringLiteral("cp"),
                     {QStringLiteral("-a"), bundle(QStringLiteral("Itsycal")), copy}, folder.path())
                  .exitCode,
              0);

    const CliResult result =
        cli({QStringLiteral("upgrade"), QStringLiteral("com.mowglii.ItsycalApp")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.contains("'com.mowglii.ItsycalApp' matches 2 applications: "))
        << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(copy.toUtf8())) << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(bundle(QStringLiteral("Itsycal")).toUtf8()))
        << result.errors.toStdString();
}

TEST_F(SandboxUpgrade, ANameThatMatchesNothingSaysSo) {
    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Nothing")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith("tarnel-cli upgrade: no application matches 'Nothing'\n"))
        << result.errors.toStdString();
}

}  // namespace

TEST_F(SandboxUpgrade, ACaskWithAnInstallerOfItsOwnIsNotUpgradedWithoutThePermission) {
    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Sequel Ace")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli upgrade: The cask 'sequel-ace' requires administrator privileges to "
        "install.\n\nTo enable this feature, go to Settings → Permissions and turn on 'Admin "
        "Password'.\n"))
        << result.errors.toStdString();
    EXPECT_TRUE(brewRuns(QStringLiteral("upgrade")).isEmpty());
}

TEST_F(SandboxUpgrade, ACaskWithAnInstallerOfItsOwnIsUpgradedWithThePermission) {
    setSetting(QStringLiteral("hasAdminPasswordPermission"), true);

    const CliResult result = cli({QStringLiteral("upgrade"), QStringLiteral("Sequel Ace")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Updated Sequel Ace from 3.4.1,3039 to 3.5.0,20029 via Homebrew\n");
    EXPECT_EQ(brewRuns(QStringLiteral("upgrade")).size(), 1);
}
