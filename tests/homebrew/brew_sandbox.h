#pragma once

#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_layout.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_service.h"
#include "platform/https_client.h"
#include "support/fake_brew_state.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

#include <QTemporaryDir>

#include <memory>

// A machine in a temporary folder: a home, a temporary directory, the two
// `brew` candidates (both absent until asked for), a fake-brew state and the
// services over them. The services are made on first use, so a test may
// change the layout before.
class BrewSandbox {
public:
    BrewSandbox();

    QString path(const QString& relative) const;
    // Places fake-brew at the first candidate.
    void installBrew();
    // Makes the askpass script's dialog print `password`, or fail when it is empty.
    void setDialogAnswer(const QString& password);

    tarnel::BrewService& brewService();
    tarnel::AskpassService& askpassService();
    // Its locations are the sandbox's applications folder and home.
    tarnel::CaskService& caskService();

    QTemporaryDir root;
    LogCapture capture;
    ManualClock clock;
    tarnel::SystemLayout layout;
    FakeBrewState state;

private:
    tarnel::SettingsStore settings;
    tarnel::Logger logger;
    std::unique_ptr<tarnel::AskpassService> askpass;
    std::unique_ptr<tarnel::HttpsClient> httpsClient;
    std::unique_ptr<tarnel::BrewService> brew;
    std::unique_ptr<tarnel::CaskService> casks;
};
