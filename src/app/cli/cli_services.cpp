#include "app/cli/cli_services.h"

#include <cstdio>

namespace tarnel {

// Every service is handed the member layout, which lives as long as they do.
CliServices::CliServices(const SystemLayout& systemLayout, LogSink sink)
    : layout(systemLayout),
      settings(SettingsStore::open(layout.settingsFile)),
      logger(std::move(sink), *settings, layout.desktopDirectory),
      askpassService(logger, layout),
      httpsClient(layout),
      brewService(logger, askpassService, httpsClient, layout, clock),
      exclusionService(logger, *settings),
      caskService(logger, brewService, clock, CaskLocations::of(layout)),
      masService(logger, layout, clock),
      discoveryService(logger, exclusionService, caskService, masService, *settings, layout),
      updaterFactory(httpsClient, clock,
                     AppcastEngineSettings{.systemVersion = layout.systemVersion,
                                           .preferredLanguages = layout.preferredLanguages,
                                           .temporaryDirectory = layout.temporaryDirectory,
                                           .dataDirectory = layout.dataDirectory}),
      sparkleService(logger, updaterFactory, clock) {}

LogSink standardErrorSink() {
    return [](LogLevel, const QString& line) {
        std::fprintf(stderr, "%s\n", line.toUtf8().constData());
    };
}

}  // namespace tarnel
