#include "shell/app_state.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_clock.h"
#include "core/system_layout.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_service.h"
#include "platform/https_client.h"
#include "support/await.h"
#include "support/log_capture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class AppStateTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString settingsPath = folder.filePath(QStringLiteral("settings.json"));
    SettingsStore settings{settingsPath};
    LogCapture capture;
    Logger logger{capture.sink(), settings, folder.path()};
    SystemLayout layout = sandboxLayout();
    SystemClock clock;
    AskpassService askpassService{logger, layout};
    HttpsClient httpsClient{layout};
    BrewService brewService{logger, askpassService, httpsClient, layout, clock};

    SystemLayout sandboxLayout() const {
        SystemLayout result = SystemLayout::production();
        result.brewCandidates = {folder.filePath(QStringLiteral("opt/homebrew/bin/brew")),
                                 folder.filePath(QStringLiteral("usr/local/bin/brew"))};
        return result;
    }

    void install(const QString& candidate) {
        QDir().mkpath(QFileInfo(candidate).path());
        QFile file(candidate);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
};

}  // namespace

TEST_F(AppStateTest, WithNoCandidateTheStateEndsAtNotInstalledWithAWarning) {
    AppState state(brewService, logger, settings);
    EXPECT_EQ(state.environmentState(), AppState::EnvironmentState::loading);
    await(state.checkHomebrewInstallation());
    EXPECT_EQ(state.environmentState(), AppState::EnvironmentState::homebrewNotInstalled);
    EXPECT_FALSE(state.isCheckingHomebrew());
    EXPECT_TRUE(capture.contains(
        LogLevel::warning, QStringLiteral("Homebrew not found - showing installation prompt")));
}

TEST_F(AppStateTest, WhenBothCandidatesExistTheFirstWins) {
    install(layout.brewCandidates[1]);
    install(layout.brewCandidates[0]);
    EXPECT_EQ(brewService.locateBrew(), layout.brewCandidates[0]);
}

TEST_F(AppStateTest, TheSecondCandidateIsFoundAlone) {
    install(layout.brewCandidates[1]);
    AppState state(brewService, logger, settings);
    await(state.checkHomebrewInstallation());
    EXPECT_EQ(state.environmentState(), AppState::EnvironmentState::homebrewInstalled);
    EXPECT_EQ(brewService.cachedBrewPath(), layout.brewCandidates[1]);
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Homebrew detected")));
}

TEST_F(AppStateTest, RefreshAfterInstallingFindsHomebrewWithoutARestart) {
    AppState state(brewService, logger, settings);
    await(state.checkHomebrewInstallation());
    ASSERT_EQ(state.environmentState(), AppState::EnvironmentState::homebrewNotInstalled);
    install(layout.brewCandidates[0]);
    await(state.checkHomebrewInstallation());
    EXPECT_EQ(state.environmentState(), AppState::EnvironmentState::homebrewInstalled);
}

TEST_F(AppStateTest, EachCheckPassesThroughLoadingAgain) {
    install(layout.brewCandidates[0]);
    AppState state(brewService, logger, settings);
    QList<AppState::EnvironmentState> seen;
    QObject::connect(&state, &AppState::changed, [&] { seen.append(state.environmentState()); });
    await(state.checkHomebrewInstallation());
    await(state.checkHomebrewInstallation());
    EXPECT_EQ(
        seen,
        (QList<AppState::EnvironmentState>{
            AppState::EnvironmentState::loading, AppState::EnvironmentState::homebrewInstalled,
            AppState::EnvironmentState::loading, AppState::EnvironmentState::homebrewInstalled}));
}

TEST_F(AppStateTest, ACachedPathStaysAvailableAfterTheFileIsRemoved) {
    install(layout.brewCandidates[0]);
    ASSERT_TRUE(brewService.isHomebrewAvailable());
    ASSERT_TRUE(QFile::remove(layout.brewCandidates[0]));
    EXPECT_TRUE(brewService.isHomebrewAvailable());
    EXPECT_FALSE(brewService.locateBrew().has_value());
}

TEST_F(AppStateTest, FreshDefaultsGiveFalseForBothToggles) {
    AppState state(brewService, logger, settings);
    EXPECT_FALSE(state.hasAppManagementPermission());
    EXPECT_FALSE(state.hasAdminPasswordPermission());
}

TEST_F(AppStateTest, TheTogglesSurviveARestart) {
    {
        AppState state(brewService, logger, settings);
        state.setHasAdminPasswordPermission(true);
        state.setHasAppManagementPermission(true);
    }
    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("Admin Password permission toggle set to: true")));
    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("App Management permission toggle set to: true")));
    SettingsStore reopened(settingsPath);
    AppState restarted(brewService, logger, reopened);
    EXPECT_TRUE(restarted.hasAdminPasswordPermission());
    EXPECT_TRUE(restarted.hasAppManagementPermission());
}
