#include "coordinator_sandbox.h"

using namespace tarnel;

UpdateService& CoordinatorSandbox::updateService() {
    if (!updates) {
        httpsClient = std::make_unique<HttpsClient>(brew.layout);
        updaterFactory = std::make_unique<AppcastUpdaterFactory>(
            *httpsClient, brew.clock, AppcastEngineSettings::of(brew.layout));
        sparkle = std::make_unique<SparkleService>(logger, *updaterFactory, brew.clock);
        skips = std::make_unique<SkipUpdateService>(logger, settings);
        updates =
            std::make_unique<UpdateService>(logger, brew.brewService(), caskService(), *sparkle,
                                            *skips, masService(), settings, brew.clock);
    }
    return *updates;
}

AppCoordinator& CoordinatorSandbox::coordinator() {
    if (!appCoordinator) {
        appCoordinator = std::make_unique<AppCoordinator>(discoveryService(), updateService(),
                                                          brew.brewService(), logger);
    }
    return *appCoordinator;
}
