#include "discovery/app_coordinator.h"

#include "core/async/cancellation_error.h"
#include "core/async/sleep_for.h"
#include "core/async/task_handle.h"
#include "core/logger.h"
#include "discovery/discovery_progress.h"
#include "homebrew/brew_service.h"
#include "updates/update_service.h"

namespace tarnel {

namespace {

using namespace std::chrono_literals;

// Every update search of the long flows runs as if the user had allowed the
// administrator password; installs ask on their own.
constexpr bool flowsHaveAdminPermission = true;

QString describe(const std::exception& error) {
    return QString::fromUtf8(error.what());
}

QString withCounts(const QString& format, const DiscoveryOutcome& outcome) {
    return format.arg(outcome.applications.size())
        .arg(outcome.updates.brewUpdates.size())
        .arg(outcome.updates.sparkleUpdates.size())
        .arg(outcome.updates.masUpdates.size());
}

// Identity across a rediscovery rests on the bundle path alone. The exclusion
// comes from the old record, so that one made during the run survives it.
QList<Application> mergedByPath(const QList<Application>& old, QList<Application> fresh) {
    for (Application& application : fresh) {
        const auto previous =
            std::find_if(old.cbegin(), old.cend(), [&application](const Application& known) {
                return known.bundlePath == application.bundlePath;
            });
        if (previous != old.cend()) {
            application.id = previous->id;
            application.excluded = previous->excluded;
        }
    }
    return fresh;
}

}  // namespace

AppCoordinator::AppCoordinator(DiscoveryService& discoveryService, UpdateService& updateService,
                               BrewService& brewService, Logger& logger)
    : logger(logger),
      discoveryService(discoveryService),
      updateService(updateService),
      brewService(brewService) {}

QCoro::Task<DiscoveryOutcome> AppCoordinator::performInitialDiscovery(
    DiscoveryService::ProgressCallback progress) {
    try {
        co_await brewService.executeBrewCommand({QStringLiteral("--version")}, false, false, {},
                                                flowsHaveAdminPermission);
    } catch (const std::exception& error) {
        logger.error(QStringLiteral("Homebrew configuration issue detected, blocking discovery: ") +
                     describe(error));
        throw;
    }
    co_await updateHomebrewQuietly();
    co_await discoverBesideEarlyCheck(std::move(progress), 1s,
                                      [](QList<Application> discovered) { return discovered; });
    const DiscoveryOutcome outcome = co_await withUpdates();
    logger.info(withCounts(QStringLiteral("Finished processing %1 apps, %2 brew updates, %3 "
                                          "sparkle updates, and %4 MAS updates"),
                           outcome));
    co_return outcome;
}

QCoro::Task<DiscoveryOutcome> AppCoordinator::performFullRefresh(DiscoveryProgress& progress) {
    co_await updateService.clearAllUpdateCaches();
    progress.setDiscoveryProgress(0.0);
    co_await updateHomebrewQuietly();
    logger.info(
        QStringLiteral("Starting full application rediscovery for refresh (with ID preservation)"));
    progress.setDiscoveryProgress(0.1);

    // The run's fractions 0.0 to 1.0 come out as 0.1 to 0.9.
    auto scaled = [&progress](double fraction) -> QCoro::Task<> {
        progress.setDiscoveryProgress(0.1 + 0.8 * fraction);
        co_return;
    };
    co_await discoverBesideEarlyCheck(
        scaled, 500ms, [this, &progress](QList<Application> discovered) {
            QList<Application> merged = mergedByPath(applications, std::move(discovered));
            progress.setDiscoveryProgress(0.9);
            return merged;
        });
    const DiscoveryOutcome outcome = co_await withUpdates();
    progress.setDiscoveryProgress(1.0);
    logger.info(withCounts(QStringLiteral("Full refresh completed: %1 apps, %2 brew updates, %3 "
                                          "sparkle updates, and %4 MAS updates"),
                           outcome));
    co_return outcome;
}

QCoro::Task<> AppCoordinator::updateHomebrewQuietly() {
    try {
        co_await brewService.updateHomebrew();
    } catch (const std::exception& error) {
        logger.warning(QStringLiteral("Failed to update Homebrew: ") + describe(error));
    }
}

QCoro::Task<> AppCoordinator::earlyUpdateCheck(std::chrono::milliseconds delay,
                                               CancellationToken token) {
    try {
        co_await sleepFor(delay, token);
    } catch (const CancellationError&) {
        // A cut delay only brings the search forward.
    }
    if (applications.isEmpty()) {
        co_return;
    }
    try {
        co_await updateService.discoverAllUpdates(applications, flowsHaveAdminPermission);
    } catch (const std::exception& error) {
        logger.warning(QStringLiteral("Early update check failed: ") + describe(error));
    }
}

QCoro::Task<> AppCoordinator::discoverBesideEarlyCheck(DiscoveryService::ProgressCallback progress,
                                                       std::chrono::milliseconds delay,
                                                       Keeping keep) {
    const auto earlyCheck = TaskHandle<>::start(
        [this, delay](CancellationToken token) { return earlyUpdateCheck(delay, token); });
    QList<Application> discovered;
    std::exception_ptr failure;
    try {
        discovered = co_await discoveryService.discoverApplications(std::move(progress));
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        earlyCheck.cancel();
        co_await earlyCheck.result();
        std::rethrow_exception(failure);
    }
    applications = keep(std::move(discovered));
    // The two update searches never overlap.
    co_await earlyCheck.result();
}

QCoro::Task<DiscoveryOutcome> AppCoordinator::withUpdates() {
    DiscoveryOutcome outcome;
    outcome.applications = applications;
    outcome.updates =
        co_await updateService.discoverAllUpdates(applications, flowsHaveAdminPermission);
    co_return outcome;
}

}  // namespace tarnel
