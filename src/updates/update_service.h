#pragma once

#include "core/async/task_handle.h"
#include "core/records/application.h"
#include "core/records/brew_update.h"
#include "core/records/mas_update.h"
#include "core/records/sparkle_update.h"
#include "core/records/update_state.h"
#include "updates/update_lists.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

struct BrewOutdatedReport;
class BrewService;
class CaskService;
class Clock;
class Logger;
class MASService;
class SettingsStore;
class SkipUpdateService;
class SparkleService;

// The one front door to updates: asks the three sources, hides what the user
// skipped, installs one update of any source, and owns the Homebrew and feed
// update caches with every operation that clears them. Lives on the main
// thread; its state changes only between awaits.
class UpdateService {
public:
    UpdateService(Logger& logger, BrewService& brewService, CaskService& caskService,
                  SparkleService& sparkleService, SkipUpdateService& skipUpdateService,
                  MASService& masService, SettingsStore& userDefaults, const Clock& clock);

    // Homebrew and feeds side by side, then the store when it is enabled.
    // Throws when the Homebrew check or the store check throws.
    QCoro::Task<UpdateLists> discoverAllUpdates(QList<Application> applications,
                                                bool hasAdminPermission);

    // Kept for 1800 seconds from the last definite answer. Throws `BrewError`
    // (or `ProcessLaunchError`) when `brew` fails, or its JSON cannot be read
    // and nothing is cached.
    QCoro::Task<QList<BrewUpdate>> checkBrewUpdates(QList<Application> applications,
                                                    bool hasAdminPermission);
    // Never throws; kept for 1800 seconds.
    QCoro::Task<QList<SparkleUpdate>> checkSparkleUpdates(QList<Application> applications);
    // Empty when `mas` is missing; other store failures are thrown.
    QCoro::Task<QList<MASUpdate>> checkMASUpdates(QList<Application> applications);

    QList<BrewUpdate> filterSkippedBrewUpdates(const QList<BrewUpdate>& updates);
    QList<SparkleUpdate> filterSkippedSparkleUpdates(const QList<SparkleUpdate>& updates);
    void skipBrewUpdate(const QString& applicationId, const QString& version,
                        const QString& bundleIdentifier);
    void skipSparkleUpdate(const QString& applicationId, const QString& version,
                           const QString& bundleIdentifier);

    // A second call for an application whose upgrade runs returns at once.
    // The upgrade runs in a task of its own: whatever happens to the caller,
    // a started `brew` runs to its end.
    QCoro::Task<> updateViaBrew(BrewUpdate update, bool hasAdminPermission);
    QCoro::Task<> updateViaSparkle(Application application, ProgressHandler progressHandler = {});
    QCoro::Task<> updateViaMAS(MASUpdate update, ProgressHandler progressHandler = {});

    bool isBrewUpdateRunning(const QString& applicationId) const {
        return activeBrewUpdates.contains(applicationId);
    }
    bool isSparkleUpdateRunning(const QString& applicationId) const {
        return activeSparkleUpdates.contains(applicationId);
    }

    // Drops one application's pending updates; the time stamps stay fresh.
    void clearUpdateCache(const QString& applicationId);
    void clearAdoptionCaches();
    // Does not wait for the feed service to clear, which cancels its installs.
    void refreshSparkleCache();
    QCoro::Task<> clearAllUpdateCaches();

private:
    QList<BrewUpdate> readOutdatedReport(const BrewOutdatedReport& report,
                                         const QList<Application>& candidates);
    // The log lines of one source's filtering, told apart by their words.
    struct SkipFilterTexts {
        QString start;
        QString skipped;
        QString result;
    };
    template <typename Update, typename Label>
    QList<Update> filterSkipped(const QList<Update>& updates, const SkipFilterTexts& texts,
                                Label label);
    QCoro::Task<> runBrewUpdate(BrewUpdate update, bool hasAdminPermission);
    QCoro::Task<> cleanupBeforeUpgrade(QString caskName);
    QCoro::Task<bool> verifyUpdateSucceeded(QString caskName);
    QCoro::Task<> runSparkleUpdate(Application application, ProgressHandler progressHandler);
    QList<BrewUpdate> storeNoBrewUpdates(const QString& message);

    Logger& logger;
    BrewService& brewService;
    CaskService& caskService;
    SparkleService& sparkleService;
    SkipUpdateService& skipUpdateService;
    MASService& masService;
    SettingsStore& userDefaults;
    const Clock& clock;
    // Keyed by application id; ordered so that a cached answer is stable.
    QMap<QString, BrewUpdate> brewUpdatesCache;
    QMap<QString, SparkleUpdate> sparkleUpdatesCache;
    std::optional<QDateTime> lastBrewUpdateCheck;
    std::optional<QDateTime> lastSparkleUpdateCheck;
    QHash<QString, TaskHandle<>> activeBrewUpdates;
    QHash<QString, TaskHandle<>> activeSparkleUpdates;
    // Ends the deferred clearing of the feed service with this service.
    QObject lifetime;
};

}  // namespace tarnel
