#include "shell/dependency_container.h"

namespace tarnel {

DependencyContainer::DependencyContainer(const SystemLayout& systemLayout, LogSink sink)
    : layout(systemLayout),
      settings(SettingsStore::open(layout.settingsFile)),
      httpsClient(layout),
      updaterFactory(httpsClient, clock, AppcastEngineSettings::of(layout)),
      logger(std::move(sink), *settings, layout.desktopDirectory),
      askpassService(logger, layout),
      brewService(logger, askpassService, httpsClient, layout, clock),
      exclusionService(logger, *settings),
      caskService(logger, brewService, clock, CaskLocations::of(layout)),
      sparkleService(logger, updaterFactory, clock),
      skipUpdateService(logger, *settings),
      masService(logger, layout, clock),
      updateService(logger, brewService, caskService, sparkleService, skipUpdateService, masService,
                    *settings, clock),
      discoveryService(logger, exclusionService, caskService, masService, *settings, layout),
      appCoordinator(discoveryService, updateService, brewService, logger),
      appState(brewService, logger, *settings) {}

}  // namespace tarnel
