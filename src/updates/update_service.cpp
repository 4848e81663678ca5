#include "updates/update_service.h"

#include "core/async/failure_of.h"
#include "core/async/sleep_for.h"
#include "core/async/worker_pool.h"
#include "core/clock.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "homebrew/brew_error.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_service.h"
#include "updates/brew_outdated_report.h"
#include "updates/mas_error.h"
#include "updates/mas_service.h"
#include "updates/skip_update_service.h"
#include "updates/sparkle_service.h"
#include "versions/version_rules.h"

#include <QStringEncoder>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <iterator>

namespace tarnel {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds updateResultLifetime{1800};
constexpr std::chrono::milliseconds brewLockRelease = 500ms;

// The words by which a refused upgrade is told from any other failure.
const QStringList permissionFailureWords{
    QStringLiteral("Operation not permitted"),
    QStringLiteral("sudo: a terminal is required"),
    QStringLiteral("sudo: a password is required"),
};

QString describe(const std::exception& error) {
    return QString::fromUtf8(error.what());
}

QString boolText(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

// The JSON's root object keys, printed as a list.
QString keyList(const QStringList& keys) {
    QStringList quoted;
    for (const QString& key : keys) {
        quoted.append(u'"' + key + u'"');
    }
    return u'[' + quoted.join(QStringLiteral(", ")) + u']';
}

template <typename Predicate>
QList<Application> applicationsWhere(const QList<Application>& applications, Predicate predicate) {
    QList<Application> kept;
    std::copy_if(applications.cbegin(), applications.cend(), std::back_inserter(kept), predicate);
    return kept;
}

const Application* firstAdoptedTo(const QList<Application>& candidates, const QString& caskName) {
    for (const Application& application : candidates) {
        if (application.adoptedCask->name == caskName) {
            return &application;
        }
    }
    return nullptr;
}

}  // namespace

UpdateService::UpdateService(Logger& logger, BrewService& brewService, CaskService& caskService,
                             SparkleService& sparkleService, SkipUpdateService& skipUpdateService,
                             MASService& masService, SettingsStore& userDefaults,
                             const Clock& clock)
    : logger(logger),
      brewService(brewService),
      caskService(caskService),
      sparkleService(sparkleService),
      skipUpdateService(skipUpdateService),
      masService(masService),
      userDefaults(userDefaults),
      clock(clock) {}

QCoro::Task<UpdateLists> UpdateService::discoverAllUpdates(QList<Application> applications,
                                                           bool hasAdminPermission) {
    const bool enableMASSupport = userDefaults.boolValue(QStringLiteral("enableMASSupport"));
    logger.info(QStringLiteral("Starting comprehensive update discovery for %1 applications")
                    .arg(applications.size()));

    const auto brewCheck =
        TaskHandle<QList<BrewUpdate>>::start([this, applications, hasAdminPermission](auto) {
            return checkBrewUpdates(applications, hasAdminPermission);
        });
    const auto sparkleCheck = TaskHandle<QList<SparkleUpdate>>::start(
        [this, applications](auto) { return checkSparkleUpdates(applications); });

    UpdateLists lists;
    std::exception_ptr brewFailure;
    try {
        lists.brewUpdates = co_await brewCheck.result();
    } catch (...) {
        brewFailure = std::current_exception();
    }
    if (brewFailure) {
        // A failed Homebrew check ends the discovery; the feeds' answer is dropped.
        sparkleCheck.cancel();
        co_await sparkleCheck.result();
        std::rethrow_exception(brewFailure);
    }
    lists.sparkleUpdates = co_await sparkleCheck.result();

    lists.brewUpdates = filterSkippedBrewUpdates(lists.brewUpdates);
    lists.sparkleUpdates = filterSkippedSparkleUpdates(lists.sparkleUpdates);
    // Store updates cannot be skipped, so they are not filtered.
    if (enableMASSupport) {
        lists.masUpdates = co_await checkMASUpdates(applications);
    }
    logger.info(QStringLiteral("Update discovery completed: %1 brew, %2 sparkle, %3 MAS updates")
                    .arg(lists.brewUpdates.size())
                    .arg(lists.sparkleUpdates.size())
                    .arg(lists.masUpdates.size()));
    co_return lists;
}

QCoro::Task<QList<BrewUpdate>> UpdateService::checkBrewUpdates(QList<Application> applications,
                                                               bool hasAdminPermission) {
    if (clock.isWithin(lastBrewUpdateCheck, updateResultLifetime)) {
        logger.info(QStringLiteral("Using cached Brew update results"));
        co_return brewUpdatesCache.values();
    }
    logger.info(QStringLiteral("Checking for Brew updates..."));
    const QList<Application> candidates =
        applicationsWhere(applications, [](const Application& application) {
            return application.alreadyAdopted && application.adoptedCask.has_value();
        });
    if (candidates.isEmpty()) {
        co_return storeNoBrewUpdates(QStringLiteral("No Brew-managed applications found"));
    }

    logger.info(
        QStringLiteral("Checking updates for %1 Brew-managed applications").arg(candidates.size()));
    const QString output = co_await brewService.executeBrewCommand(
        {QStringLiteral("outdated"), QStringLiteral("--cask"), QStringLiteral("--greedy"),
         QStringLiteral("--json")},
        false, true, {}, hasAdminPermission);
    // `executeBrewCommand` gives the output already trimmed.
    if (output.isEmpty() || output == QLatin1String("[]")) {
        co_return storeNoBrewUpdates(QStringLiteral("No outdated casks found"));
    }
    QStringEncoder encoder(QStringEncoder::Utf8);
    QByteArray json = encoder.encode(output);
    if (encoder.hasError()) {
        logger.error(QStringLiteral("Failed to convert outdated result to UTF-8 data"));
        throw BrewError::commandFailed(QStringLiteral("Invalid character encoding in brew output"),
                                       std::nullopt);
    }

    std::exception_ptr parseFailure;
    try {
        const BrewOutdatedReport report = co_await runOnWorkerPool(
            [json = std::move(json)] { return BrewOutdatedReport::parse(json); });
        co_return readOutdatedReport(report, candidates);
    } catch (const std::exception& error) {
        logger.error(QStringLiteral("JSON parsing error: ") + describe(error));
        parseFailure = std::current_exception();
    }
    // The time stamp stays as it was, so the next request runs `brew` again.
    if (brewUpdatesCache.isEmpty()) {
        logger.warning(QStringLiteral(
            "JSON parsing failed and no cached data available, will retry on next request"));
        std::rethrow_exception(parseFailure);
    }
    logger.info(QStringLiteral("JSON parsing failed, using cached update data (%1 updates)")
                    .arg(brewUpdatesCache.size()));
    co_return brewUpdatesCache.values();
}

QList<BrewUpdate> UpdateService::readOutdatedReport(const BrewOutdatedReport& report,
                                                    const QList<Application>& candidates) {
    switch (report.shape) {
        case BrewOutdatedReport::Shape::unexpected:
            logger.error(QStringLiteral("Unexpected JSON structure - not an object or array"));
            throw BrewError::commandFailed(
                QStringLiteral("Unexpected JSON structure from brew outdated"), std::nullopt);
        case BrewOutdatedReport::Shape::objectWithoutCasks:
            logger.warning(QStringLiteral("Root object exists but no 'casks' array found. Keys: ") +
                           keyList(report.rootKeys));
            break;
        case BrewOutdatedReport::Shape::casks:
            break;
    }
    if (report.casks.isEmpty()) {
        return storeNoBrewUpdates(QStringLiteral("No outdated casks in JSON result"));
    }

    brewUpdatesCache.clear();
    QList<BrewUpdate> updates;
    for (const OutdatedCaskEntry& entry : report.casks) {
        if (!entry.name) {
            logger.warning(QStringLiteral("Cask missing 'name' field, skipping"));
            continue;
        }
        const QString& name = *entry.name;
        if (!entry.installedVersions || entry.installedVersions->isEmpty() ||
            !entry.latestVersion) {
            logger.warning(
                QStringLiteral("Cask '%1' missing version information, skipping").arg(name));
            continue;
        }
        // `--greedy` also reports casks that nothing here tracks.
        const Application* application = firstAdoptedTo(candidates, name);
        if (!application) {
            continue;
        }
        const QString& installed = entry.installedVersions->constFirst();
        const QString& latest = *entry.latestVersion;
        if (installed == latest || !isBrewVersionNewer(latest, installed)) {
            logger.info(
                QStringLiteral("Skipping cask update for %1: versions are the same or not newer")
                    .arg(name));
            continue;
        }
        BrewUpdate update;
        update.id = application->id + u'_' + latest;
        update.applicationId = application->id;
        update.bundleIdentifier = application->bundleIdentifier;
        update.caskName = name;
        update.currentVersion = installed;
        update.availableVersion = latest;
        update.updateType = BrewUpdate::UpdateType::caskUpdate;
        updates.append(update);
        brewUpdatesCache.insert(application->id, update);
    }
    lastBrewUpdateCheck = clock.now();
    return updates;
}

QList<BrewUpdate> UpdateService::storeNoBrewUpdates(const QString& message) {
    logger.info(message);
    lastBrewUpdateCheck = clock.now();
    brewUpdatesCache.clear();
    return {};
}

QCoro::Task<QList<SparkleUpdate>> UpdateService::checkSparkleUpdates(
    QList<Application> applications) {
    if (clock.isWithin(lastSparkleUpdateCheck, updateResultLifetime)) {
        logger.info(QStringLiteral("Using cached Sparkle update results"));
        co_return sparkleUpdatesCache.values();
    }
    logger.info(QStringLiteral("Discovering Sparkle updates..."));
    // An application that Homebrew manages is never asked about its feed.
    const QList<Application> candidates = applicationsWhere(
        applications, [](const Application& application) { return !application.alreadyAdopted; });
    if (candidates.isEmpty()) {
        lastSparkleUpdateCheck = clock.now();
        sparkleUpdatesCache.clear();
        co_return QList<SparkleUpdate>();
    }
    sparkleUpdatesCache.clear();
    const QList<SparkleUpdate> updates = co_await sparkleService.checkForUpdates(candidates);
    for (const SparkleUpdate& update : updates) {
        sparkleUpdatesCache.insert(update.applicationId, update);
    }
    lastSparkleUpdateCheck = clock.now();
    co_return updates;
}

QCoro::Task<QList<MASUpdate>> UpdateService::checkMASUpdates(QList<Application> applications) {
    const QList<Application> storeApplications = applicationsWhere(
        applications,
        [](const Application& application) { return application.masApp.has_value(); });
    if (storeApplications.isEmpty()) {
        logger.info(QStringLiteral("No MAS apps found for update checking"));
        co_return QList<MASUpdate>();
    }
    logger.info(QStringLiteral("Checking MAS updates for %1 apps").arg(storeApplications.size()));
    QSet<QString> storeIds;
    for (const Application& application : storeApplications) {
        storeIds.insert(application.masApp->id);
    }
    QList<MASUpdate> outdated;
    try {
        outdated = co_await masService.fetchOutdatedMASApps();
    } catch (const MASError& error) {
        if (error.errorCase() == MASError::Case::notInstalled) {
            logger.warning(QStringLiteral("MAS CLI not found - skipping MAS update check"));
            co_return QList<MASUpdate>();
        }
        logger.error(QStringLiteral("Failed to check MAS updates: ") + describe(error));
        throw;
    } catch (const std::exception& error) {
        logger.error(QStringLiteral("Failed to check MAS updates: ") + describe(error));
        throw;
    }
    QList<MASUpdate> updates;
    for (const MASUpdate& update : outdated) {
        if (storeIds.contains(update.appId)) {
            logger.info(QStringLiteral("Found MAS update for %1: %2 -> %3")
                            .arg(update.appName, update.currentVersion, update.availableVersion));
            updates.append(update);
        }
    }
    co_return updates;
}

QList<BrewUpdate> UpdateService::filterSkippedBrewUpdates(const QList<BrewUpdate>& updates) {
    static const SkipFilterTexts texts{
        QStringLiteral("Filtering %1 Brew updates for skipped versions"),
        QStringLiteral("Skipping update for %1 v%2 - version was previously skipped"),
        QStringLiteral(
            "Filtered result: %1 updates after removing %2 skipped versions (started with %3)"),
    };
    return filterSkipped(updates, texts, [](const BrewUpdate& update) { return update.caskName; });
}

QList<SparkleUpdate> UpdateService::filterSkippedSparkleUpdates(
    const QList<SparkleUpdate>& updates) {
    static const SkipFilterTexts texts{
        QStringLiteral("Filtering %1 Sparkle updates for skipped versions"),
        QStringLiteral("Skipping Sparkle update for %1 v%2 - version was previously skipped"),
        QStringLiteral("Filtered result: %1 Sparkle updates after removing %2 skipped versions "
                       "(started with %3)"),
    };
    return filterSkipped(updates, texts,
                         [](const SparkleUpdate& update) { return update.applicationId; });
}

template <typename Update, typename Label>
QList<Update> UpdateService::filterSkipped(const QList<Update>& updates,
                                           const SkipFilterTexts& texts, Label label) {
    logger.info(texts.start.arg(updates.size()));
    QList<Update> kept;
    for (const Update& update : updates) {
        const bool skipped =
            skipUpdateService.isVersionSkipped(update.bundleIdentifier, update.availableVersion);
        if (skipped) {
            logger.info(
                QStringLiteral("Hiding update for app %1 version %2 - was previously skipped")
                    .arg(update.bundleIdentifier, update.availableVersion));
        }
        logger.info(QStringLiteral("Update %1 v%2: shouldShow = %3")
                        .arg(label(update), update.availableVersion, boolText(!skipped)));
        if (skipped) {
            logger.info(texts.skipped.arg(label(update), update.availableVersion));
        } else {
            kept.append(update);
        }
    }
    logger.info(
        texts.result.arg(kept.size()).arg(updates.size() - kept.size()).arg(updates.size()));
    return kept;
}

void UpdateService::skipBrewUpdate(const QString& applicationId, const QString& version,
                                   const QString& bundleIdentifier) {
    skipUpdateService.skipVersion(bundleIdentifier, version);
    brewUpdatesCache.remove(applicationId);
    logger.info(QStringLiteral("Skipped Brew update version %1 for bundle %2")
                    .arg(version, bundleIdentifier));
}

void UpdateService::skipSparkleUpdate(const QString& applicationId, const QString& version,
                                      const QString& bundleIdentifier) {
    skipUpdateService.skipVersion(bundleIdentifier, version);
    sparkleUpdatesCache.remove(applicationId);
    logger.info(QStringLiteral("Skipped Sparkle update version %1 for bundle %2")
                    .arg(version, bundleIdentifier));
}

QCoro::Task<> UpdateService::updateViaBrew(BrewUpdate update, bool hasAdminPermission) {
    const QString applicationId = update.applicationId;
    if (activeBrewUpdates.contains(applicationId)) {
        logger.warning(QStringLiteral("Brew update already in progress for application %1")
                           .arg(applicationId));
        co_return;
    }
    logger.info(QStringLiteral("Updating application %1 via Brew").arg(applicationId));
    // Not a child of the caller: cancelling the caller never stops a started `brew`.
    const auto upgrade = TaskHandle<>::start([this, update, hasAdminPermission](auto) {
        return runBrewUpdate(update, hasAdminPermission);
    });
    activeBrewUpdates.insert(applicationId, upgrade);
    const auto failure = co_await failureOf(upgrade.result());
    activeBrewUpdates.remove(applicationId);
    logger.info(QStringLiteral("Cleaned up active brew update task for %1").arg(applicationId));
    if (failure) {
        std::rethrow_exception(*failure);
    }
}

QCoro::Task<> UpdateService::runBrewUpdate(BrewUpdate update, bool hasAdminPermission) {
    const QString cask = update.caskName;
    co_await cleanupBeforeUpgrade(cask);
    logger.info(QStringLiteral("Upgrading %1 with --force").arg(cask));
    try {
        co_await brewService.executeBrewCommand(
            {QStringLiteral("upgrade"), QStringLiteral("--cask"), QStringLiteral("--force"), cask,
             QStringLiteral("--no-quarantine")},
            false, true, {}, hasAdminPermission);
    } catch (const std::exception& error) {
        // The pending update stays cached, so that it is still shown.
        const QString description = describe(error);
        logger.error(QStringLiteral("Update failed for %1: %2").arg(cask, description));
        for (const QString& word : permissionFailureWords) {
            if (description.contains(word)) {
                logger.error(QStringLiteral("Permission-related update failure for %1").arg(cask));
                throw BrewError::commandFailed(
                    QStringLiteral("Tarnel cannot update this cask through brew even with Admin "
                                   "Password permission. You will need to update manually"),
                    std::nullopt);
            }
        }
        throw;
    }
    // The upgrade's exit status decides; a doubtful verification only warns.
    if (co_await verifyUpdateSucceeded(cask)) {
        logger.info(QStringLiteral("Update verified successful for %1").arg(cask));
    } else {
        logger.warning(
            QStringLiteral("Update may have failed for %1 - version check failed").arg(cask));
    }
    brewUpdatesCache.remove(update.applicationId);
    logger.info(QStringLiteral("Successfully updated %1").arg(cask));
}

QCoro::Task<> UpdateService::cleanupBeforeUpgrade(QString caskName) {
    logger.info(QStringLiteral("Cleaning up before upgrade for %1").arg(caskName));
    try {
        co_await brewService.executeBrewCommand({QStringLiteral("cleanup"), caskName}, false, true,
                                                {}, false);
        logger.info(QStringLiteral("Cleanup completed for %1").arg(caskName));
    } catch (const std::exception& error) {
        logger.warning(QStringLiteral("Cleanup failed for %1, continuing anyway: %2")
                           .arg(caskName, describe(error)));
    }
    // Gives `brew` time to release its locks.
    co_await sleepFor(brewLockRelease);
}

QCoro::Task<bool> UpdateService::verifyUpdateSucceeded(QString caskName) {
    QString output;
    try {
        output = co_await brewService.executeBrewCommand(
            {QStringLiteral("outdated"), QStringLiteral("--cask"), caskName}, false, true, {},
            false);
    } catch (const std::exception& error) {
        // A verification that cannot run never turns a success into a doubt.
        logger.warning(QStringLiteral("Could not verify update status for %1: %2")
                           .arg(caskName, describe(error)));
        co_return true;
    }
    // `executeBrewCommand` gives the output already trimmed.
    if (!output.isEmpty() && output.contains(caskName)) {
        logger.warning(QStringLiteral("Verification: %1 still shows as outdated").arg(caskName));
        co_return false;
    }
    logger.info(QStringLiteral("Verification: %1 is up-to-date").arg(caskName));
    co_return true;
}

QCoro::Task<> UpdateService::updateViaSparkle(Application application,
                                              ProgressHandler progressHandler) {
    const QString applicationId = application.id;
    if (activeSparkleUpdates.contains(applicationId)) {
        logger.warning(QStringLiteral("Sparkle update already in progress for application %1")
                           .arg(applicationId));
        co_return;
    }
    logger.info(QStringLiteral("Updating %1 via Sparkle").arg(application.displayName));
    const auto install =
        TaskHandle<>::start([this, application, progressHandler = std::move(progressHandler)](
                                auto) { return runSparkleUpdate(application, progressHandler); });
    activeSparkleUpdates.insert(applicationId, install);
    const auto failure = co_await failureOf(install.result());
    activeSparkleUpdates.remove(applicationId);
    if (failure) {
        std::rethrow_exception(*failure);
    }
}

QCoro::Task<> UpdateService::runSparkleUpdate(Application application,
                                              ProgressHandler progressHandler) {
    co_await sparkleService.updateViaSparkle(application, std::move(progressHandler));
    // Only a success drops the pending update: a failed one is still listed.
    sparkleUpdatesCache.remove(application.id);
    logger.info(QStringLiteral("Successfully updated %1").arg(application.displayName));
}

QCoro::Task<> UpdateService::updateViaMAS(MASUpdate update, ProgressHandler progressHandler) {
    logger.info(QStringLiteral("Starting MAS update for app ID: %1").arg(update.appId));
    try {
        co_await masService.upgradeMASApp(update.appId, std::move(progressHandler));
    } catch (const std::exception& error) {
        logger.error(
            QStringLiteral("Failed to update MAS app %1: %2").arg(update.appName, describe(error)));
        throw;
    }
    logger.info(QStringLiteral("Successfully updated MAS app: %1").arg(update.appName));
}

void UpdateService::clearUpdateCache(const QString& applicationId) {
    brewUpdatesCache.remove(applicationId);
    sparkleUpdatesCache.remove(applicationId);
    logger.info(QStringLiteral("Cleared update cache for application: %1").arg(applicationId));
}

void UpdateService::clearAdoptionCaches() {
    caskService.clearInstalledCasksCache();
    logger.info(QStringLiteral("Cleared installed casks cache"));
    logger.info(QStringLiteral("Cleared adoption-related caches"));
}

void UpdateService::refreshSparkleCache() {
    lastSparkleUpdateCheck.reset();
    sparkleUpdatesCache.clear();
    // Cleared from the event loop, not waited for; clearing also cancels the
    // feed service's running installs.
    QTimer::singleShot(0, &lifetime, [this] { sparkleService.clearCache(); });
    logger.info(QStringLiteral("Sparkle update cache refreshed"));
}

QCoro::Task<> UpdateService::clearAllUpdateCaches() {
    lastBrewUpdateCheck.reset();
    brewUpdatesCache.clear();
    logger.info(QStringLiteral("Brew update cache refreshed"));
    refreshSparkleCache();
    co_await masService.clearMASCaches();
    logger.info(QStringLiteral("MAS update cache cleared"));
    logger.info(QStringLiteral("All update caches cleared"));
}

}  // namespace tarnel
