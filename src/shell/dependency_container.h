#pragma once

#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_clock.h"
#include "core/system_layout.h"
#include "discovery/app_coordinator.h"
#include "discovery/discovery_service.h"
#include "discovery/exclusion_service.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_service.h"
#include "platform/appcast/appcast_updater_factory.h"
#include "platform/https_client.h"
#include "shell/app_state.h"
#include "updates/mas_service.h"
#include "updates/skip_update_service.h"
#include "updates/sparkle_service.h"
#include "updates/update_service.h"

#include <memory>

namespace tarnel {

// One instance of every service for the life of the process, built from a
// `SystemLayout` in the order their arguments force. Everything outside the
// process comes from the layout and the log sink.
class DependencyContainer {
public:
    DependencyContainer(const SystemLayout& systemLayout, LogSink sink);

    DependencyContainer(const DependencyContainer&) = delete;
    DependencyContainer& operator=(const DependencyContainer&) = delete;

    // What the services stand on. Each service keeps a reference to these.
    SystemLayout layout;
    SystemClock clock;
    std::unique_ptr<SettingsStore> settings;
    HttpsClient httpsClient;
    AppcastUpdaterFactory updaterFactory;

    Logger logger;
    AskpassService askpassService;
    BrewService brewService;
    ExclusionService exclusionService;
    CaskService caskService;
    SparkleService sparkleService;
    SkipUpdateService skipUpdateService;
    MASService masService;
    UpdateService updateService;
    DiscoveryService discoveryService;
    AppCoordinator appCoordinator;
    AppState appState;
};

}  // namespace tarnel
