#pragma once

#include "updates/sparkle_updater.h"

#include <QString>

#include <memory>

namespace tarnel {

class SparkleUserDriver;
class SparkleUpdaterDelegate;

// Makes the framework's updaters. The driver and the delegate outlive the
// updater they are given to.
class SparkleUpdaterFactory {
public:
    virtual ~SparkleUpdaterFactory() = default;

    virtual std::unique_ptr<SparkleUpdater> createUpdater(const QString& hostBundlePath,
                                                          const QString& applicationBundlePath,
                                                          SparkleUserDriver& userDriver,
                                                          SparkleUpdaterDelegate& delegate) = 0;
};

}  // namespace tarnel
