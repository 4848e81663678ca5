#pragma once

#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_clock.h"
#include "core/system_layout.h"
#include "discovery/discovery_service.h"
#include "discovery/exclusion_service.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_service.h"
#include "platform/appcast/appcast_updater_factory.h"
#include "platform/https_client.h"
#include "updates/mas_service.h"
#include "updates/sparkle_service.h"

#include <memory>

namespace tarnel {

// The services a command-line run needs, each built once in dependency
// order and handed its collaborators.
class CliServices {
public:
    CliServices(const SystemLayout& systemLayout, LogSink sink);

    SystemLayout layout;
    SystemClock clock;
    std::unique_ptr<SettingsStore> settings;
    Logger logger;
    AskpassService askpassService;
    HttpsClient httpsClient;
    BrewService brewService;
    ExclusionService exclusionService;
    CaskService caskService;
    MASService masService;
    DiscoveryService discoveryService;
    AppcastUpdaterFactory updaterFactory;
    SparkleService sparkleService;
};

// Log lines on standard error, so that standard output stays the result.
LogSink standardErrorSink();

}  // namespace tarnel
