#pragma once

#include "updates/sparkle_framework_error.h"

#include <optional>

namespace tarnel {

// One updater of the framework, pointed at one application's bundle. It may
// be destroyed at any moment, also while a check or an install runs; it then
// stops quietly and calls its driver no more.
class SparkleUpdater {
public:
    virtual ~SparkleUpdater() = default;

    // The error when the updater cannot start; nothing when it can.
    virtual std::optional<SparkleFrameworkError> startUpdater() = 0;
    // Starts a user-initiated check; the outcome arrives through the driver.
    virtual void checkForUpdates() = 0;
};

}  // namespace tarnel
