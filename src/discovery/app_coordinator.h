#pragma once

#include "core/async/cancellation_token.h"
#include "core/records/application.h"
#include "discovery/discovery_outcome.h"
#include "discovery/discovery_service.h"

#include <QList>

#include <chrono>
#include <functional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class BrewService;
class DiscoveryProgress;
class Logger;
class UpdateService;

// Strings the long flows together: checks and updates Homebrew, runs a
// discovery beside an early update search, then the full update search, and
// remembers the last list. Every update search here runs with the
// administrator permission. Lives on the main thread.
class AppCoordinator {
public:
    AppCoordinator(DiscoveryService& discoveryService, UpdateService& updateService,
                   BrewService& brewService, Logger& logger);

    // Refuses to discover when `brew --version` fails, and rethrows that error.
    QCoro::Task<DiscoveryOutcome> performInitialDiscovery(
        DiscoveryService::ProgressCallback progress = {});
    // Rediscovers with every update cache cleared, keeping each application's
    // identity by its bundle path, and writes its progress to `progress`.
    QCoro::Task<DiscoveryOutcome> performFullRefresh(DiscoveryProgress& progress);
    // Never throws; a failure is only logged.
    QCoro::Task<> updateHomebrewQuietly();
    // Starts the update search of the list already known after `delay`; its
    // results stay only in the update caches. Never throws. Cancelling only
    // cuts the delay short.
    QCoro::Task<> earlyUpdateCheck(std::chrono::milliseconds delay, CancellationToken token = {});

    const QList<Application>& currentApplications() const { return applications; }

private:
    using Keeping = std::function<QList<Application>(QList<Application> discovered)>;

    // Runs the discovery beside the early update search, stores what `keep`
    // makes of its result, then waits for the early search. When the
    // discovery fails, the early search is ended first and the list stays.
    QCoro::Task<> discoverBesideEarlyCheck(DiscoveryService::ProgressCallback progress,
                                           std::chrono::milliseconds delay, Keeping keep);
    // The full update search over the stored list.
    QCoro::Task<DiscoveryOutcome> withUpdates();

    Logger& logger;
    DiscoveryService& discoveryService;
    UpdateService& updateService;
    BrewService& brewService;
    QList<Application> applications;
};

}  // namespace tarnel
