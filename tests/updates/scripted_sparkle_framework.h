#pragma once

#include "updates/sparkle_updater.h"
#include "updates/sparkle_updater_delegate.h"
#include "updates/sparkle_updater_factory.h"
#include "updates/sparkle_user_driver.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

// Stands in for the update framework, which cannot run here: each updater
// plays a script against its driver on a later turn of the event loop, as
// the framework calls back after its own work.
class ScriptedSparkleFramework final : public tarnel::SparkleUpdaterFactory {
public:
    using Script = std::function<void(tarnel::SparkleUserDriver&, tarnel::SparkleUpdaterDelegate&)>;

    std::unique_ptr<tarnel::SparkleUpdater> createUpdater(
        const QString& hostBundlePath, const QString& applicationBundlePath,
        tarnel::SparkleUserDriver& userDriver, tarnel::SparkleUpdaterDelegate& delegate) override;

    // The script of every updater made from now on.
    Script script;
    // When set, every updater fails to start with this error.
    std::optional<tarnel::SparkleFrameworkError> startFailure;

    int createdCount = 0;
    int liveCount = 0;
    int mostLiveAtOnce = 0;
    QString lastHostBundlePath;
    QString lastApplicationBundlePath;
    QString lastFeedURL;
};
