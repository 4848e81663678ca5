#pragma once

#include "core/async/async_mutex.h"
#include "core/records/mas_app.h"
#include "core/records/mas_update.h"
#include "core/records/update_state.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class Clock;
class Logger;
struct SystemLayout;

// The only place that launches `mas`, the optional store tool. Lives on the
// main thread. Every command, with the cache check before it, and every
// clearing of the caches waits for its turn, so that one `mas` runs at a time
// while the thread stays free.
class MASService {
public:
    MASService(Logger& logger, const SystemLayout& layout, const Clock& clock);

    // The first candidate that is an executable file, remembered for 30 seconds;
    // a failed search is never remembered.
    QCoro::Task<std::optional<QString>> findMASPath();
    // Both output streams as one text, untrimmed; empty when it is not UTF-8.
    // Throws `MASError` when `mas` is missing or exits non-zero, and
    // `ProcessLaunchError` when it cannot be started.
    QCoro::Task<QString> runMASCommand(QStringList arguments);
    QCoro::Task<QList<MASApp>> fetchInstalledMASApps();
    QCoro::Task<QList<MASUpdate>> fetchOutdatedMASApps();
    // Reports `installing`, then `completed` or an error; only success clears the caches.
    QCoro::Task<> upgradeMASApp(QString appId, ProgressHandler progressHandler = {});
    // Waits for the running command, if any, so that the result it stores
    // cannot bring back what was cleared.
    QCoro::Task<> clearMASCaches();

private:
    // `turn` proves that the caller holds `commandTurn`.
    QCoro::Task<QString> runInTurn(const AsyncMutexLock& turn, QStringList arguments);

    Logger& logger;
    QStringList masCandidates;
    const Clock& clock;
    AsyncMutex commandTurn;
    std::optional<QString> cachedMASPath;
    std::optional<QDateTime> lastPathCheck;
    std::optional<QDateTime> lastUpdateCheck;
    // Ordered by store id, so that a cached answer comes back in a stable order.
    QMap<QString, MASUpdate> masUpdatesCache;
    QList<MASApp> installedAppsCache;
    std::optional<QDateTime> lastInstalledAppsCheck;
};

}  // namespace tarnel
