#include "sandbox_fixture.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>

// `adopt` end to end: the sandbox's `brew` takes a hand-installed bundle over
// with the best cask option or a typed one, or says why it will not.
namespace {

const QString permissionRequired = QStringLiteral(
    "tarnel-cli adopt: The cask '%1' requires administrator privileges to install.\n\nTo enable "
    "this feature, go to Settings → Permissions and turn on 'Admin Password'.\n");

class SandboxAdopt : public SandboxFixture {
protected:
    // Lets `brew` adopt Amethyst's bundle as it is: its cask declares the
    // bundle's own version.
    void letBrewAdoptAmethyst() const {
        changeBrewCask(QStringLiteral("amethyst"), [](QJsonObject& cask) {
            cask.insert(u"bundle_short_version"_qs, u"0.12.2b2"_qs);
        });
    }

    // Gives the amethyst cask a package installer in the catalogue.
    void giveAmethystAPackage() const {
        changeCatalogueCask(QStringLiteral("amethyst"), [](QJsonObject& cask) {
            QJsonArray artifacts = cask.value(u"artifacts"_qs).toArray();
            artifacts.append(QJsonObject{{u"pkg"_qs, QJsonArray{u"Amethyst.pkg"_qs}}});
            cask.insert(u"artifacts"_qs, artifacts);
        });
    }

    // `brew` moves to a folder whose name tells of a different version, and
    // cannot be started again after its first install has failed: the retry
    // then fails to launch with those words, which is how a version mismatch
    // arrives without Homebrew's own error.
    void placeBrewThatCannotRelaunchAfterInstalling() const {
        const QString folder =
            inSandbox(QStringLiteral("odd/bundle short version is 0.15.5 but is 0.12.2b2 for"));
        ASSERT_TRUE(QDir().mkpath(folder));
        const QString wrapper = folder + QStringLiteral("/brew");
        QFile script(wrapper);
        ASSERT_TRUE(script.open(QIODevice::WriteOnly));
        script.write(QStringLiteral("#!/bin/sh\n"
                                    "if [ \"$1\" = install ]; then chmod a-x \"$0\"; exit 1; fi\n"
                                    "exec '%1' \"$@\"\n")
                         .arg(inSandbox(QStringLiteral("opt/homebrew/bin/brew")))
                         .toUtf8());
        script.close();
        ASSERT_TRUE(script.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner));
        const QString layoutPath = inSandbox(QStringLiteral("layout.json"));
        QFile layoutFile(layoutPath);
        ASSERT_TRUE(layoutFile.open(QIODevice::ReadOnly));
        QJsonObject layout = QJsonDocument::fromJson(layoutFile.readAll()).object();
        layoutFile.close();
        layout.insert(u"brewCandidates"_qs, QJsonArray{wrapper});
        ASSERT_TRUE(layoutFile.open(QIODevice::WriteOnly | QIODevice::Truncate));
        layoutFile.write(QJsonDocument(layout).toJson());
    }
};

TEST_F(SandboxAdopt, TheBestOptionAdoptsTheBundleInPlace) {
    letBrewAdoptAmethyst();

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Amethyst")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Successfully adopted Amethyst\n");
    // Piped, the progress bar, drawn with carriage returns, stays silent.
    EXPECT_FALSE(result.errors.contains('\r')) << result.errors.toStdString();
    const QList<BrewRun> installs = brewRuns(QStringLiteral("install"));
    ASSERT_EQ(installs.size(), 1);
    EXPECT_EQ(installs.first().arguments, (QStringList{u"install"_qs, u"--cask"_qs, u"--adopt"_qs,
                                                       u"amethyst"_qs, u"--no-quarantine"_qs}));
    const QJsonObject amethyst = scanRecord(QStringLiteral("Amethyst"));
    EXPECT_TRUE(amethyst[u"alreadyAdopted"_qs].toBool());
    EXPECT_EQ(amethyst[u"adoptedCask"_qs][u"name"_qs], u"amethyst"_qs);
}

TEST_F(SandboxAdopt, AFailedAdoptionWithoutThePermissionAsksForIt) {
    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Amethyst")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.endsWith(permissionRequired.arg(u"amethyst"_qs).toUtf8()))
        << result.errors.toStdString();
    EXPECT_EQ(brewRuns(QStringLiteral("install")).size(), 1);
}

TEST_F(SandboxAdopt, AFailedAdoptionWithThePermissionIsRetriedAndFailsWithHomebrewsWords) {
    setSetting(QStringLiteral("hasAdminPasswordPermission"), true);

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Amethyst")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.contains("tarnel-cli adopt: Homebrew command failed:"))
        << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains("existing App is different")) << result.errors.toStdString();
    const QList<BrewRun> installs = brewRuns(QStringLiteral("install"));
    ASSERT_EQ(installs.size(), 2);
    EXPECT_TRUE(installs.at(1).hadAskpass);
}

TEST_F(SandboxAdopt, APackageCaskWithoutThePermissionIsRefusedBeforeAnythingRuns) {
    letBrewAdoptAmethyst();
    giveAmethystAPackage();

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Amethyst")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith(permissionRequired.arg(u"amethyst"_qs).toUtf8()))
        << result.errors.toStdString();
    EXPECT_TRUE(brewRuns(QStringLiteral("install")).isEmpty());
}

TEST_F(SandboxAdopt, APackageCaskWithThePermissionAdoptsWithThePasswordFromTheStart) {
    letBrewAdoptAmethyst();
    giveAmethystAPackage();
    setSetting(QStringLiteral("hasAdminPasswordPermission"), true);

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Amethyst")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    const QList<BrewRun> installs = brewRuns(QStringLiteral("install"));
    ASSERT_EQ(installs.size(), 1);
    EXPECT_TRUE(installs.first().hadAskpass);
}

TEST_F(SandboxAdopt, AValidTypedCaskAdoptsTheBundle) {
    // brew knows licecap as a cask of Loop's bundle, so that it can adopt it.
    changeBrewCask(QStringLiteral("licecap"), [](QJsonObject& cask) {
        cask.insert(u"version"_qs, u"1.1.1"_qs);
        cask.insert(u"artifacts"_qs,
                    QJsonArray{QJsonObject{{u"app"_qs, QJsonArray{u"Loop.app"_qs}}}});
    });

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Loop"),
                                  QStringLiteral("--cask"), QStringLiteral(" licecap ")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Successfully adopted Loop with custom cask\n");
    const QList<BrewRun> installs = brewRuns(QStringLiteral("install"));
    ASSERT_EQ(installs.size(), 1);
    EXPECT_EQ(installs.first().arguments.at(3), u"licecap"_qs);
}

TEST_F(SandboxAdopt, ATypedCaskThatIsAnotherApplicationsOptionIsInUse) {
    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Loop"),
                                  QStringLiteral("--cask"), QStringLiteral("hammerspoon")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli adopt: This cask is already available as an option above\n"))
        << result.errors.toStdString();
    EXPECT_TRUE(brewRuns(QStringLiteral("install")).isEmpty());
}

TEST_F(SandboxAdopt, ATypedCaskThatIsInstalledIsRefused) {
    setBrewInstalled(QStringLiteral("licecap"), QStringLiteral("1.31"));

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Loop"),
                                  QStringLiteral("--cask"), QStringLiteral("licecap")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli adopt: This cask is already installed and managing another "
        "application\n"))
        << result.errors.toStdString();
}

TEST_F(SandboxAdopt, ATypedCaskTheCatalogueLacksIsNotFoundCaseIncluded) {
    for (const QString& token : {QStringLiteral("no-such-cask"), QStringLiteral("LICECAP")}) {
        const CliResult result =
            cli({QStringLiteral("adopt"), QStringLiteral("Loop"), QStringLiteral("--cask"), token});

        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.errors.endsWith(
            QStringLiteral("tarnel-cli adopt: Cask '%1' not found in Homebrew\n")
                .arg(token)
                .toUtf8()))
            << result.errors.toStdString();
    }
}

TEST_F(SandboxAdopt, AnEmptyTypedCaskIsAWrongArgument) {
    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Loop"),
                                  QStringLiteral("--cask"), QStringLiteral("  ")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.startsWith("tarnel-cli adopt: --cask needs a cask token."))
        << result.errors.toStdString();
}

TEST_F(SandboxAdopt, AnApplicationWithoutOptionsNeedsATypedCask) {
    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Loop")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli adopt: no cask is offered for Loop; name one with --cask TOKEN\n"))
        << result.errors.toStdString();
}

TEST_F(SandboxAdopt, AnAdoptedApplicationIsNotAdoptedAgain) {
    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Rectangle")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli adopt: Rectangle is already managed by Homebrew through the cask "
        "rectangle\n"))
        << result.errors.toStdString();
    EXPECT_TRUE(brewRuns(QStringLiteral("install")).isEmpty());
}

TEST_F(SandboxAdopt, AnExcludedApplicationIsNotAdopted) {
    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("OpenEmu"),
                                  QStringLiteral("--cask"), QStringLiteral("licecap")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith("tarnel-cli adopt: OpenEmu is excluded; include it first\n"))
        << result.errors.toStdString();
}

TEST_F(SandboxAdopt, AVersionMismatchShowsBothVersionsAndWhatAdoptingWouldDo) {
    setSetting(QStringLiteral("hasAdminPasswordPermission"), true);
    placeBrewThatCannotRelaunchAfterInstalling();

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Amethyst")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli adopt: Version mismatch for amethyst: You have 0.12.2b2 installed, but "
        "Homebrew cask is 0.15.5\n"
        "Your Version: 0.12.2b2\n"
        "Brew Version: 0.15.5\n"
        "\n"
        "The Homebrew cask (0.15.5) is newer than your version (0.12.2b2). Adopting will "
        "update your app and enable Homebrew management.\n"
        "Run again with --force to replace the application with the cask's version.\n"))
        << result.errors.toStdString();
}

TEST_F(SandboxAdopt, AVersionMismatchWithForceInstallsTheCasksVersionInstead) {
    setSetting(QStringLiteral("hasAdminPasswordPermission"), true);
    placeBrewThatCannotRelaunchAfterInstalling();

    const CliResult result = cli({QStringLiteral("adopt"), QStringLiteral("Amethyst"),
                                  QStringLiteral("--force"), QStringLiteral("--verbose")});

    // The force install is the next thing launched; this `brew` can no longer
    // be started, so the run ends with that launch's failure.
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.contains(
        "[WARNING] Force installing cask (will replace existing app): amethyst\n"))
        << result.errors.toStdString();
    EXPECT_TRUE(result.errors.endsWith("execve: Permission denied\n"))
        << result.errors.toStdString();
    EXPECT_FALSE(result.errors.contains("Version mismatch")) << result.errors.toStdString();
}

TEST_F(SandboxAdopt, OnATerminalItShowsTheAdoptionsSteps) {
    letBrewAdoptAmethyst();

    const CliResult shown = cliOnTerminal({QStringLiteral("adopt"), QStringLiteral("Amethyst")});

    ASSERT_EQ(shown.exitCode, 0) << shown.errors.toStdString();
    EXPECT_TRUE(shown.errors.contains("\rPreparing")) << shown.errors.toStdString();
    EXPECT_TRUE(shown.errors.contains("\rInstalling")) << shown.errors.toStdString();
}

}  // namespace
