#pragma once

#include <QObject>
#include <QString>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class BrewService;
class Logger;
class SettingsStore;

// Process-wide environment state: decides the root screen by the presence of
// `brew`, and holds the two permission toggles the user sets.
class AppState : public QObject {
    Q_OBJECT

public:
    enum class EnvironmentState { loading, homebrewNotInstalled, homebrewInstalled };

    AppState(BrewService& brewService, Logger& logger, SettingsStore& settings);

    EnvironmentState environmentState() const { return environment; }
    bool isCheckingHomebrew() const { return checkingHomebrew; }
    const std::optional<QString>& errorMessage() const { return lastError; }
    bool showingError() const { return isShowingError; }
    bool hasAppManagementPermission() const { return appManagementPermission; }
    bool hasAdminPasswordPermission() const { return adminPasswordPermission; }

    void setHasAppManagementPermission(bool granted);
    void setHasAdminPasswordPermission(bool granted);

    // The presence check; each run passes through `loading` again.
    QCoro::Task<> checkHomebrewInstallation();

Q_SIGNALS:
    void changed();

private:
    BrewService& brewService;
    Logger& logger;
    SettingsStore& settings;
    EnvironmentState environment = EnvironmentState::loading;
    bool checkingHomebrew = false;
    std::optional<QString> lastError;
    bool isShowingError = false;
    bool appManagementPermission = false;
    bool adminPasswordPermission = false;
};

}  // namespace tarnel
