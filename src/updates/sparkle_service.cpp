#include "updates/sparkle_service.h"

#include "core/async/continuation.h"
#include "core/async/task_group.h"
#include "core/async/worker_pool.h"
#include "core/clock.h"
#include "core/logger.h"
#include "updates/sparkle_error.h"
#include "updates/sparkle_feed_keys.h"
#include "updates/sparkle_update_checker_operation.h"
#include "updates/sparkle_update_operation.h"

#include <QFileInfo>

#include <chrono>
#include <exception>
#include <utility>

namespace tarnel {

SparkleService::SparkleService(Logger& logger, SparkleUpdaterFactory& updaterFactory,
                               const Clock& clock)
    : logger(logger), updaterFactory(updaterFactory), clock(clock) {}

SparkleService::~SparkleService() = default;

QCoro::Task<QList<SparkleUpdate>> SparkleService::checkForUpdates(QList<Application> applications) {
    constexpr std::chrono::seconds lifetime{1800};
    if (clock.isWithin(lastUpdateCheck, lifetime)) {
        logger.info(QStringLiteral("Using cached Sparkle update results"));
        co_return sparkleUpdatesCache.values();
    }
    const QList<Application> eligible = co_await eligibleApplications(applications);
    if (eligible.isEmpty()) {
        logger.info(QStringLiteral("No applications with SparkleInfo found"));
        lastUpdateCheck = clock.now();
        sparkleUpdatesCache.clear();
        co_return QList<SparkleUpdate>();
    }
    logger.info(QStringLiteral("Checking Sparkle updates for %1 apps").arg(eligible.size()));
    sparkleUpdatesCache.clear();
    QList<SparkleUpdate> updates;
    // One check at a time keeps a single updater alive at once.
    for (const Application& application : eligible) {
        try {
            if (auto update = co_await checkForUpdate(application)) {
                updates.append(*update);
                sparkleUpdatesCache.insert(application.id, *update);
            }
        } catch (const std::exception& error) {
            logger.warning(QStringLiteral("Failed to check for Sparkle update for %1: %2")
                               .arg(application.displayName, QString::fromUtf8(error.what())));
        }
    }
    lastUpdateCheck = clock.now();
    co_return updates;
}

QCoro::Task<QList<Application>> SparkleService::eligibleApplications(
    const QList<Application>& applications) {
    TaskGroup<std::optional<Application>> checks;
    for (const Application& application : applications) {
        if (application.excluded) {
            continue;
        }
        checks.add([this, application](
                       const CancellationToken&) -> QCoro::Task<std::optional<Application>> {
            if (co_await isSparkleEligible(application)) {
                co_return application;
            }
            co_return std::nullopt;
        });
    }
    QList<Application> eligible;
    while (auto checked = co_await checks.next()) {
        if (*checked) {
            eligible.append(**checked);
        }
    }
    co_return eligible;
}

QCoro::Task<bool> SparkleService::isSparkleEligible(Application application) {
    if (application.sparkleInfo) {
        co_return true;
    }
    const QString bundlePath = application.bundlePath;
    const InfoPlistFeedReading reading =
        co_await runOnWorkerPool([bundlePath] { return readInfoPlistFeed(bundlePath); });
    if (reading.outcome == InfoPlistFeedReading::Outcome::unreadable) {
        logger.warning(QStringLiteral("Failed to read Info.plist for %1: %2")
                           .arg(application.displayName, reading.error));
    }
    co_return reading.outcome == InfoPlistFeedReading::Outcome::usableFeed;
}

QCoro::Task<std::optional<SparkleUpdate>> SparkleService::checkForUpdate(Application application) {
    if (!application.sparkleInfo) {
        throw SparkleError::noSparkleConfiguration();
    }
    const SparkleInfo sparkleInfo = *application.sparkleInfo;
    if (isVendorInternalFeed(sparkleInfo.feedURL)) {
        logger.info(QStringLiteral("Skipping %1 - uses internal Apple feed URL")
                        .arg(application.displayName));
        co_return std::nullopt;
    }
    if (sparkleInfo.feedURL.startsWith(QLatin1String("http://"))) {
        logger.warning(
            QStringLiteral("Skipping %1 - uses HTTP feed (not HTTPS), blocked by ATS policy")
                .arg(application.displayName));
        co_return std::nullopt;
    }
    if (!QFileInfo(application.bundlePath).isDir()) {
        throw SparkleError::failedToLoadBundle();
    }
    // The operation lives in this frame until the check has resumed.
    std::unique_ptr<SparkleUpdateCheckerOperation> operation;
    co_return co_await suspendUntilResumed<std::optional<SparkleUpdate>>(
        [&](ContinuationResumer<std::optional<SparkleUpdate>> resumer) {
            operation = std::make_unique<SparkleUpdateCheckerOperation>(application, sparkleInfo,
                                                                        std::move(resumer));
            operation->start(updaterFactory);
        });
}

void SparkleService::clearCache() {
    sparkleUpdatesCache.clear();
    lastUpdateCheck.reset();
    for (const auto& operation : std::exchange(activeUpdateOperations, {})) {
        operation->cancel();
    }
    logger.info(QStringLiteral("Sparkle cache cleared"));
}

QCoro::Task<> SparkleService::updateViaSparkle(Application application,
                                               ProgressHandler progressHandler) {
    if (!application.sparkleInfo) {
        throw SparkleError::noSparkleConfiguration();
    }
    if (activeUpdateOperations.contains(application.id)) {
        throw SparkleError::updateAlreadyInProgress();
    }
    logger.info(QStringLiteral("Starting Sparkle update for %1").arg(application.displayName));
    auto operation = std::make_shared<SparkleUpdateOperation>(application, *application.sparkleInfo,
                                                              logger, updaterFactory);
    operation->setProgressHandler(std::move(progressHandler));
    activeUpdateOperations.insert(application.id, operation);
    std::exception_ptr failure;
    try {
        co_await suspendUntilResumed<void>([&operation](ContinuationResumer<void> resumer) {
            operation->setCompletionHandler([resumer](std::exception_ptr error) {
                if (error) {
                    resumer.fail(error);
                } else {
                    resumer.resume();
                }
            });
            operation->start();
        });
    } catch (...) {
        failure = std::current_exception();
    }
    // A cache clear may have dropped this operation and a new update of the
    // same application taken its place; that one stays.
    if (activeUpdateOperations.value(application.id) == operation) {
        activeUpdateOperations.remove(application.id);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace tarnel
