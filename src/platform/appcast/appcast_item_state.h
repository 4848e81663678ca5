#pragma once

#include "platform/appcast/appcast_check_context.h"
#include "platform/appcast/appcast_item.h"

namespace tarnel {

// How an item stands for one host on one machine.
struct AppcastItemState {
    // Only its web page can be offered, never an install.
    bool isInformationOnly = false;
    bool isCritical = false;
    // The host is below the item's minimum autoupdate version, so the item
    // is offered only when no minor update exists.
    bool isMajorUpgrade = false;
    bool isMinimumSystemVersionOK = true;
    bool isMaximumSystemVersionOK = true;
    // False when the item needs Apple silicon and the machine lacks it.
    bool isHardwareSupported = true;
    // False when the host is below the item's minimum update version.
    bool isMinimumUpdateVersionOK = true;

    // The system tests a check applies before it offers an item.
    bool passesSystemTests() const {
        return isMinimumSystemVersionOK && isMaximumSystemVersionOK && isHardwareSupported &&
               isMinimumUpdateVersionOK;
    }

    bool operator==(const AppcastItemState&) const = default;
};

// Versions compare by the standard comparator; the item's limits that are
// empty impose nothing.
AppcastItemState resolveAppcastItemState(const AppcastItem& item,
                                         const AppcastCheckContext& context);

}  // namespace tarnel
