#pragma once

#include "core/records/application.h"
#include "core/records/sparkle_update.h"
#include "core/records/update_state.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QString>

#include <memory>
#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class Clock;
class Logger;
class SparkleUpdateOperation;
class SparkleUpdaterFactory;

// Checks and installs updates of applications that carry their own update
// feed, through the update framework, without touching them on a check.
// Lives on the main thread; checks run strictly one at a time.
class SparkleService {
public:
    SparkleService(Logger& logger, SparkleUpdaterFactory& updaterFactory, const Clock& clock);
    ~SparkleService();

    // Never throws; a batch's result lives for 1800 seconds from its end.
    QCoro::Task<QList<SparkleUpdate>> checkForUpdates(QList<Application> applications);
    QCoro::Task<std::optional<SparkleUpdate>> checkForUpdate(Application application);
    QCoro::Task<bool> isSparkleEligible(Application application);
    // Also cancels every install under way.
    void clearCache();

    QCoro::Task<> updateViaSparkle(Application application, ProgressHandler progressHandler = {});

    bool isUpdating(const QString& applicationId) const {
        return activeUpdateOperations.contains(applicationId);
    }

private:
    QCoro::Task<QList<Application>> eligibleApplications(const QList<Application>& applications);

    Logger& logger;
    SparkleUpdaterFactory& updaterFactory;
    const Clock& clock;
    // Keyed by application id; ordered so that a cached answer is stable.
    QMap<QString, SparkleUpdate> sparkleUpdatesCache;
    std::optional<QDateTime> lastUpdateCheck;
    QHash<QString, std::shared_ptr<SparkleUpdateOperation>> activeUpdateOperations;
};

}  // namespace tarnel
