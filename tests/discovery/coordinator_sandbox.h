#pragma once

#include "discovery_sandbox.h"

#include "discovery/app_coordinator.h"
#include "discovery/discovery_progress.h"
#include "platform/appcast/appcast_updater_factory.h"
#include "platform/https_client.h"
#include "updates/skip_update_service.h"
#include "updates/sparkle_service.h"
#include "updates/update_service.h"

#include <QList>

#include <memory>

// What a full refresh reported, in order.
class RecordedProgress : public tarnel::DiscoveryProgress {
public:
    void setDiscoveryProgress(double fraction) override { values.append(fraction); }

    QList<double> values;
};

// The discovery machine with the update services and the coordinator over
// it, made on first use like the rest.
class CoordinatorSandbox : public DiscoverySandbox {
public:
    tarnel::AppCoordinator& coordinator();
    tarnel::UpdateService& updateService();

private:
    std::unique_ptr<tarnel::HttpsClient> httpsClient;
    std::unique_ptr<tarnel::AppcastUpdaterFactory> updaterFactory;
    std::unique_ptr<tarnel::SparkleService> sparkle;
    std::unique_ptr<tarnel::SkipUpdateService> skips;
    std::unique_ptr<tarnel::UpdateService> updates;
    std::unique_ptr<tarnel::AppCoordinator> appCoordinator;
};
