#include "catalogue_sandbox.h"

#include "cask_samples.h"
#include "catalogue_data.h"
#include "core/process_launch_error.h"
#include "homebrew/brew_error.h"
#include "homebrew/cask_adoption_error.h"
#include "support/await.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <functional>

using namespace tarnel;

namespace {

using Kind = CustomCaskValidationResult::Kind;

const QString rectangle = QStringLiteral("rectangle");
const QString karabiner = QStringLiteral("karabiner-elements");

QJsonObject sharedCaskObject(const QString& token) {
    return QJsonDocument::fromJson(readCatalogueData(QStringLiteral("casks/%1.json").arg(token)))
        .object();
}

FakeBrewBehaviour succeedingAfterPassword(const QString& password) {
    FakeBrewBehaviour behaviour;
    behaviour.password = password;
    behaviour.exitStatus = 0;
    return behaviour;
}

FakeBrewBehaviour failing(QByteArray error) {
    FakeBrewBehaviour behaviour;
    behaviour.exitStatus = 1;
    behaviour.standardError = std::move(error);
    return behaviour;
}

Application applicationOffering(const QList<Cask>& options,
                                std::optional<Cask> adoptedCask = std::nullopt) {
    Application application;
    application.id = QStringLiteral("app-id");
    application.name = QStringLiteral("Some App");
    application.caskOptions = options;
    application.alreadyAdopted = adoptedCask.has_value();
    application.adoptedCask = std::move(adoptedCask);
    return application;
}

// fake-brew with the Rectangle bundle of the shared fixtures (version 0.85)
// in the applications folder, the shared rectangle cask (0.98) and the
// karabiner-elements cask (a package installer), and the catalogue served
// with both and a deprecated cask.
class CaskAdoptionTest : public ::testing::Test {
protected:
    void SetUp() override {
        const QString contents =
            sandbox.layout.applicationsDirectory + QStringLiteral("/Rectangle.app/Contents");
        ASSERT_TRUE(QDir().mkpath(contents));
        ASSERT_TRUE(QFile::copy(
            fixturesDir() + QStringLiteral("/bundles/Rectangle.app/Contents/Info.plist"),
            contents + QStringLiteral("/Info.plist")));
        sandbox.state.addCask(sharedCaskObject(karabiner));
        QJsonObject retired{{QStringLiteral("token"), QStringLiteral("retired-app")},
                            {QStringLiteral("version"), QStringLiteral("1.0")},
                            {QStringLiteral("deprecated"), true}};
        sandbox.serveCatalogue(QJsonDocument(QJsonArray{sharedCaskObject(rectangle),
                                                        sharedCaskObject(karabiner), retired})
                                   .toJson(QJsonDocument::Compact));
    }

    // Places fake-brew with the rectangle cask at `rectangleVersion`; at the
    // bundle's own 0.85 adopting works, at the published 0.98 it fails.
    void installBrew(const QString& rectangleVersion = QStringLiteral("0.98")) {
        QJsonObject cask = sharedCaskObject(rectangle);
        cask.insert(QStringLiteral("version"), rectangleVersion);
        sandbox.state.addCask(cask);
        sandbox.installBrew();
    }

    // Puts a `brew` that exists but cannot be executed in `folder`, so that
    // launching it fails with a text that names the folder.
    void placeUnlaunchableBrew(const QString& folder) {
        const QString brew = sandbox.path(folder + QStringLiteral("/brew"));
        QDir().mkpath(sandbox.path(folder));
        QFile file(brew);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nexit 0\n");
        file.close();
        ASSERT_TRUE(file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        sandbox.layout.brewCandidates = {brew};
    }

    void adopt(const Cask& cask, bool hasAdminPermission, ProgressHandler progressHandler = {}) {
        await(sandbox.caskService().adoptCask(cask, true, hasAdminPermission,
                                              std::move(progressHandler)));
    }

    void forceInstall(const Cask& cask, bool hasAdminPermission) {
        await(sandbox.caskService().forceInstallCask(cask, true, hasAdminPermission, {}));
    }

    CaskAdoptionError adoptionErrorOf(const std::function<void()>& operation) {
        try {
            operation();
        } catch (const CaskAdoptionError& error) {
            return error;
        } catch (const std::exception& error) {
            ADD_FAILURE() << "another error: " << error.what();
        }
        ADD_FAILURE() << "no CaskAdoptionError";
        return CaskAdoptionError::adminPermissionRequired();
    }

    CustomCaskValidationResult validate(const QString& token,
                                        const QList<Application>& applications = {}) {
        return await(sandbox.caskService().validateCustomCask(token, applications));
    }

    std::optional<QString> askpassOf(const FakeBrewInvocation& invocation) const {
        return invocation.environment.value(QStringLiteral("SUDO_ASKPASS"));
    }

    QString askpassHelper() const {
        return sandbox.layout.temporaryDirectory + QStringLiteral("/tarnel_askpass.sh");
    }

    bool logged(LogLevel level, const QString& message) const {
        return sandbox.capture.contains(level, message);
    }

    CatalogueSandbox sandbox;
    const Cask rectangleCask = sharedCask(QStringLiteral("rectangle.json"));
    const Cask karabinerCask = sharedCask(QStringLiteral("karabiner-elements.json"));
};

}  // namespace

TEST_F(CaskAdoptionTest, PlainCaskIsAdoptedWithTheTokenBeforeNoQuarantine) {
    installBrew(QStringLiteral("0.85"));
    adopt(rectangleCask, true);
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 1);
    EXPECT_EQ(
        invocations.first().arguments,
        (QStringList{QStringLiteral("install"), QStringLiteral("--cask"), QStringLiteral("--adopt"),
                     rectangle, QStringLiteral("--no-quarantine")}));
    EXPECT_EQ(invocations.first().exitStatus, 0);
    EXPECT_EQ(askpassOf(invocations.first()), std::nullopt);
}

TEST_F(CaskAdoptionTest, AdoptionWithoutNoQuarantineLeavesTheFlagOut) {
    installBrew(QStringLiteral("0.85"));
    await(sandbox.caskService().adoptCask(rectangleCask, false, true, {}));
    EXPECT_EQ(sandbox.state.invocations().value(0).arguments,
              (QStringList{QStringLiteral("install"), QStringLiteral("--cask"),
                           QStringLiteral("--adopt"), rectangle}));
}

TEST_F(CaskAdoptionTest, SuccessfulAdoptionLogsItsStartAndEnd) {
    installBrew(QStringLiteral("0.85"));
    adopt(rectangleCask, true);
    EXPECT_TRUE(logged(LogLevel::info, QStringLiteral("Adopting existing app to cask: rectangle")));
    EXPECT_TRUE(logged(LogLevel::info,
                       QStringLiteral("Executing brew command: install --cask --adopt rectangle "
                                      "--no-quarantine")));
    EXPECT_TRUE(logged(LogLevel::info,
                       QStringLiteral("Admin required: false, Admin permission granted: true")));
    EXPECT_TRUE(logged(LogLevel::info, QStringLiteral("Successfully adopted cask: rectangle")));
}

TEST_F(CaskAdoptionTest, AdoptionReportsItsPhasesToTheProgressHandler) {
    installBrew(QStringLiteral("0.85"));
    QList<UpdateState> states;
    adopt(rectangleCask, true, [&states](UpdateState state) -> QCoro::Task<> {
        states.append(state);
        co_return;
    });
    EXPECT_EQ(states, (QList<UpdateState>{UpdateState::initializing(), UpdateState::installing()}));
}

TEST_F(CaskAdoptionTest, ManualInstallerCaskIsAdoptedWithAskpassFromTheFirstRun) {
    ASSERT_TRUE(karabinerCask.manualInstaller);
    installBrew();
    sandbox.state.setBehaviour(QStringLiteral("install"),
                               succeedingAfterPassword(QStringLiteral("correct horse")));
    adopt(karabinerCask, true);
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 1);
    EXPECT_EQ(
        invocations.first().arguments,
        (QStringList{QStringLiteral("install"), QStringLiteral("--cask"), QStringLiteral("--adopt"),
                     karabiner, QStringLiteral("--no-quarantine")}));
    EXPECT_EQ(askpassOf(invocations.first()), askpassHelper());
    EXPECT_EQ(invocations.first().environment.value(QStringLiteral("HOMEBREW_SUDO_ASKPASS")),
              QStringLiteral("1"));
    EXPECT_TRUE(logged(LogLevel::info,
                       QStringLiteral("Admin required: true, Admin permission granted: true")));
    EXPECT_TRUE(
        logged(LogLevel::info, QStringLiteral("Successfully adopted cask: karabiner-elements")));
}

TEST_F(CaskAdoptionTest, ManualInstallerCaskWithoutPermissionRunsOnceWithoutAskpass) {
    installBrew();
    sandbox.state.setBehaviour(QStringLiteral("install"),
                               succeedingAfterPassword(QStringLiteral("correct horse")));
    adoptionErrorOf([&] { adopt(karabinerCask, false); });
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 1);
    EXPECT_EQ(askpassOf(invocations.first()), std::nullopt);
    EXPECT_TRUE(logged(LogLevel::info,
                       QStringLiteral("Admin required: true, Admin permission granted: false")));
}

TEST_F(CaskAdoptionTest, ManualInstallerCaskIsForceInstalledWithoutAskpassOnTheFirstRun) {
    installBrew();
    sandbox.state.setBehaviours(
        QStringLiteral("install"),
        {failing("Error: sudo needed"), succeedingAfterPassword(QStringLiteral("correct horse"))});
    forceInstall(karabinerCask, true);
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 2);
    const QStringList command{QStringLiteral("install"), QStringLiteral("--cask"),
                              QStringLiteral("--force"), karabiner,
                              QStringLiteral("--no-quarantine")};
    EXPECT_EQ(invocations.at(0).arguments, command);
    EXPECT_EQ(askpassOf(invocations.at(0)), std::nullopt);
    // Only the retry that the permission allows carries the askpass helper.
    EXPECT_EQ(invocations.at(1).arguments, command);
    EXPECT_EQ(askpassOf(invocations.at(1)), askpassHelper());
    EXPECT_TRUE(logged(LogLevel::info,
                       QStringLiteral("Admin required: false, Admin permission granted: true")));
}

TEST_F(CaskAdoptionTest, ForceInstallLogsAWarningAndItsSuccess) {
    installBrew();
    forceInstall(rectangleCask, true);
    EXPECT_TRUE(logged(LogLevel::warning,
                       QStringLiteral("Force installing cask (will replace existing app): "
                                      "rectangle")));
    EXPECT_TRUE(
        logged(LogLevel::info, QStringLiteral("Successfully force-installed cask: rectangle")));
    EXPECT_EQ(sandbox.state.invocations().value(0).exitStatus, 0);
}

TEST_F(CaskAdoptionTest, LaunchErrorNamingADifferentAppIsAMismatchOfUnknownVersions) {
    placeUnlaunchableBrew(QStringLiteral("existing App is different"));
    const CaskAdoptionError error = adoptionErrorOf([&] { adopt(rectangleCask, true); });
    EXPECT_EQ(error.kind(), CaskAdoptionError::Kind::versionMismatch);
    EXPECT_EQ(error.caskVersion(), QStringLiteral("unknown"));
    EXPECT_EQ(error.installedVersion(), QStringLiteral("unknown"));
    EXPECT_EQ(error.caskName(), rectangle);
    EXPECT_EQ(error.description(),
              QStringLiteral("Version mismatch for rectangle: You have unknown installed, but "
                             "Homebrew cask is unknown"));
    EXPECT_FALSE(logged(LogLevel::info, QStringLiteral("Successfully adopted cask: rectangle")));
}

TEST_F(CaskAdoptionTest, LaunchErrorWithBothVersionsGivesThemToTheMismatch) {
    placeUnlaunchableBrew(QStringLiteral("bundle short version is 1.0 but is 2.0 for"));
    const CaskAdoptionError error = adoptionErrorOf([&] { adopt(rectangleCask, true); });
    EXPECT_EQ(error.kind(), CaskAdoptionError::Kind::versionMismatch);
    EXPECT_EQ(error.caskVersion(), QStringLiteral("1.0"));
    EXPECT_EQ(error.installedVersion(), QStringLiteral("2.0"));
    EXPECT_EQ(error.description(),
              QStringLiteral("Version mismatch for rectangle: You have 2.0 installed, but "
                             "Homebrew cask is 1.0"));
}

TEST_F(CaskAdoptionTest, LaunchErrorWithoutTheWordsIsThrownAsItIs) {
    placeUnlaunchableBrew(QStringLiteral("plain"));
    try {
        adopt(rectangleCask, true);
        ADD_FAILURE() << "an unlaunchable brew adopted";
    } catch (const ProcessLaunchError& error) {
        EXPECT_EQ(error.program(), sandbox.layout.brewCandidates.first());
    }
}

TEST_F(CaskAdoptionTest, ForceInstallNeverReadsTheWordsOfALaunchError) {
    placeUnlaunchableBrew(QStringLiteral("existing App is different"));
    EXPECT_THROW(forceInstall(rectangleCask, true), ProcessLaunchError);
}

TEST_F(CaskAdoptionTest, BrewRefusingADifferentAppStaysABrewError) {
    installBrew();
    try {
        adopt(rectangleCask, true);
        ADD_FAILURE() << "a different version was adopted";
    } catch (const CaskAdoptionError& error) {
        ADD_FAILURE() << "became an adoption error: " << error.what();
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
        ASSERT_TRUE(error.standardError());
        EXPECT_TRUE(error.standardError()->contains(QStringLiteral("existing App is different")));
        EXPECT_TRUE(error.standardError()->contains(QStringLiteral("is 0.98 but is 0.85 for")));
    }
    // The permission buys one retry with the askpass helper.
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 2);
    EXPECT_EQ(askpassOf(invocations.at(0)), std::nullopt);
    EXPECT_EQ(askpassOf(invocations.at(1)), askpassHelper());
    EXPECT_FALSE(logged(LogLevel::info, QStringLiteral("Successfully adopted cask: rectangle")));
}

TEST_F(CaskAdoptionTest, ForceInstallFailureWithThePermissionStaysABrewError) {
    installBrew();
    sandbox.state.setBehaviour(QStringLiteral("install"),
                               failing("It seems the existing App is different"));
    try {
        forceInstall(rectangleCask, true);
        ADD_FAILURE() << "a failing force install succeeded";
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
    }
    EXPECT_FALSE(
        logged(LogLevel::info, QStringLiteral("Successfully force-installed cask: rectangle")));
}

TEST_F(CaskAdoptionTest, AdoptionFailureWithoutPermissionIsAdminPermissionRequired) {
    installBrew();
    const CaskAdoptionError error = adoptionErrorOf([&] { adopt(rectangleCask, false); });
    EXPECT_EQ(error.kind(), CaskAdoptionError::Kind::adminPermissionRequired);
    EXPECT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_TRUE(logged(LogLevel::error,
                       QStringLiteral("Brew command failed and admin permission not granted by "
                                      "user")));
}

TEST_F(CaskAdoptionTest, AdoptingAnUnknownCaskWithoutPermissionIsAdminPermissionRequired) {
    installBrew();
    const CaskAdoptionError error =
        adoptionErrorOf([&] { adopt(sampleCask(QStringLiteral("no-such-cask")), false); });
    EXPECT_EQ(error.kind(), CaskAdoptionError::Kind::adminPermissionRequired);
}

TEST_F(CaskAdoptionTest, ForceInstallFailureWithoutPermissionIsAdminPermissionRequired) {
    installBrew();
    const CaskAdoptionError error =
        adoptionErrorOf([&] { forceInstall(sampleCask(QStringLiteral("no-such-cask")), false); });
    EXPECT_EQ(error.kind(), CaskAdoptionError::Kind::adminPermissionRequired);
    EXPECT_EQ(sandbox.state.invocations().size(), 1);
}

TEST_F(CaskAdoptionTest, AdoptionWithoutBrewIsHomebrewNotFound) {
    try {
        adopt(rectangleCask, true);
        ADD_FAILURE() << "adopted without brew";
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Kind::homebrewNotFound);
    }
}

TEST(CaskAdoptionError, NewerInstalledVersionSaysTheUsersVersionIsNewer) {
    const CaskAdoptionError error = CaskAdoptionError::versionMismatch(
        QStringLiteral("2.0"), QStringLiteral("1.0"), QStringLiteral("rectangle"));
    EXPECT_EQ(error.recoverySuggestion(),
              QStringLiteral("Your version (2.0) is newer than the Homebrew cask (1.0). Adopting "
                             "will replace your app with the older Homebrew version, but you'll "
                             "get future updates through Homebrew. Most app preferences should "
                             "be preserved."));
}

TEST(CaskAdoptionError, EqualVersionsSayTheCaskIsNewer) {
    const CaskAdoptionError error = CaskAdoptionError::versionMismatch(
        QStringLiteral("1.0"), QStringLiteral("1.0"), QStringLiteral("rectangle"));
    EXPECT_EQ(error.recoverySuggestion(),
              QStringLiteral("The Homebrew cask (1.0) is newer than your version (1.0). Adopting "
                             "will update your app and enable Homebrew management."));
}

TEST(CaskAdoptionError, VersionsAreOrderedAsPlainText) {
    // Character by character, "10.0" sorts before "9.0".
    const CaskAdoptionError error = CaskAdoptionError::versionMismatch(
        QStringLiteral("9.0"), QStringLiteral("10.0"), QStringLiteral("rectangle"));
    EXPECT_TRUE(error.recoverySuggestion().startsWith(QStringLiteral("Your version (9.0)")));
}

TEST(CaskAdoptionError, AdminPermissionRequiredLeadsToTheSetting) {
    const CaskAdoptionError error = CaskAdoptionError::adminPermissionRequired();
    EXPECT_EQ(error.description(),
              QStringLiteral("Administrator privileges required but permission not granted"));
    EXPECT_EQ(error.recoverySuggestion(),
              QStringLiteral("Go to Settings → Permissions and enable 'Admin Password' to allow "
                             "Homebrew to request administrator privileges when needed."));
    EXPECT_STREQ(error.what(), "Administrator privileges required but permission not granted");
}

TEST_F(CaskAdoptionTest, TokenAmongOptionsAndInstalledIsAlreadyInUse) {
    installBrew();
    sandbox.state.setInstalledVersion(rectangle, QStringLiteral("0.85"));
    const CustomCaskValidationResult result = validate(
        rectangle,
        {applicationOffering({}),
         applicationOffering({sampleCask(QStringLiteral("other")), sampleCask(rectangle)})});
    EXPECT_EQ(result.kind, Kind::alreadyInUse);
    EXPECT_EQ(result.cask, std::nullopt);
    // Use is tested first: neither brew nor the catalogue was asked.
    EXPECT_TRUE(sandbox.state.invocations().isEmpty());
    EXPECT_EQ(sandbox.catalogueRequestCount(), 0);
}

TEST_F(CaskAdoptionTest, TokenOfAnAdoptedCaskIsAlreadyInUse) {
    installBrew();
    EXPECT_EQ(validate(rectangle, {applicationOffering({}, sampleCask(rectangle))}).kind,
              Kind::alreadyInUse);
}

TEST_F(CaskAdoptionTest, InstalledTokenIsAlreadyInstalled) {
    installBrew();
    sandbox.state.setInstalledVersion(rectangle, QStringLiteral("0.85"));
    const CustomCaskValidationResult result =
        validate(rectangle, {applicationOffering({sampleCask(QStringLiteral("other"))})});
    EXPECT_EQ(result.kind, Kind::alreadyInstalled);
    EXPECT_EQ(sandbox.catalogueRequestCount(), 0);
}

TEST_F(CaskAdoptionTest, TokenInCapitalsIsNotFound) {
    installBrew();
    sandbox.state.setInstalledVersion(rectangle, QStringLiteral("0.85"));
    const CustomCaskValidationResult result = validate(QStringLiteral("Rectangle"));
    EXPECT_EQ(result.kind, Kind::notFound);
    EXPECT_EQ(result.cask, std::nullopt);
}

TEST_F(CaskAdoptionTest, TokenMissingFromTheCatalogueIsNotFound) {
    installBrew();
    EXPECT_EQ(validate(QStringLiteral("no-such-cask")).kind, Kind::notFound);
}

TEST_F(CaskAdoptionTest, DeprecatedTokenIsNotFound) {
    installBrew();
    EXPECT_EQ(validate(QStringLiteral("retired-app")).kind, Kind::notFound);
}

TEST_F(CaskAdoptionTest, FreeTokenInTheCatalogueIsValidWithItsCask) {
    installBrew();
    const CustomCaskValidationResult result =
        validate(rectangle, {applicationOffering({sampleCask(QStringLiteral("other"))})});
    EXPECT_EQ(result.kind, Kind::valid);
    ASSERT_TRUE(result.cask);
    EXPECT_EQ(result.cask->name, rectangle);
    EXPECT_EQ(result.cask->version, QStringLiteral("0.98"));
}

TEST_F(CaskAdoptionTest, ValidationWithoutBrewIsHomebrewNotFound) {
    try {
        validate(rectangle);
        ADD_FAILURE() << "validated without brew";
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Kind::homebrewNotFound);
    }
}
