#pragma once

#include "platform/appcast/appcast_item.h"

#include <optional>

namespace tarnel {

// Why a check found nothing, with the framework's reason numbers, and the
// newest item that was a candidate, for the report.
struct NoUpdateFound {
    enum class Reason {
        unknown = 0,
        onLatestVersion = 1,
        onNewerThanLatestVersion = 2,
        systemIsTooOld = 3,
        systemIsTooNew = 4,
        hardwareDoesNotSupportARM64 = 5,
    };

    Reason reason = Reason::onLatestVersion;
    bool isUserInitiated = true;
    // Absent when no item survived the channel and platform filter.
    std::optional<AppcastItem> latestItem;

    bool operator==(const NoUpdateFound&) const = default;
};

}  // namespace tarnel
