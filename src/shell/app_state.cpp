#include "shell/app_state.h"

#include "core/logger.h"
#include "core/settings_store.h"
#include "homebrew/brew_service.h"

namespace tarnel {

namespace {
const QString appManagementKey = QStringLiteral("hasAppManagementPermission");
const QString adminPasswordKey = QStringLiteral("hasAdminPasswordPermission");

QString boolText(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}
}  // namespace

AppState::AppState(BrewService& brewService, Logger& logger, SettingsStore& settings)
    : brewService(brewService),
      logger(logger),
      settings(settings),
      appManagementPermission(settings.boolValue(appManagementKey)),
      adminPasswordPermission(settings.boolValue(adminPasswordKey)) {}

void AppState::setHasAppManagementPermission(bool granted) {
    appManagementPermission = granted;
    settings.setBool(appManagementKey, granted);
    logger.info(QStringLiteral("App Management permission toggle set to: ") + boolText(granted));
    Q_EMIT changed();
}

void AppState::setHasAdminPasswordPermission(bool granted) {
    adminPasswordPermission = granted;
    settings.setBool(adminPasswordKey, granted);
    logger.info(QStringLiteral("Admin Password permission toggle set to: ") + boolText(granted));
    Q_EMIT changed();
}

QCoro::Task<> AppState::checkHomebrewInstallation() {
    checkingHomebrew = true;
    environment = EnvironmentState::loading;
    Q_EMIT changed();
    if (brewService.isHomebrewAvailable()) {
        environment = EnvironmentState::homebrewInstalled;
        logger.info(QStringLiteral("Homebrew detected"));
    } else {
        environment = EnvironmentState::homebrewNotInstalled;
        logger.warning(QStringLiteral("Homebrew not found - showing installation prompt"));
    }
    checkingHomebrew = false;
    Q_EMIT changed();
    co_return;
}

}  // namespace tarnel
