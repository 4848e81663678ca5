#pragma once

#include "platform/appcast/appcast_item.h"
#include "platform/appcast/appcast_item_state.h"
#include "platform/appcast/updater_error.h"

#include <optional>

namespace tarnel {

// The item a check offers, with how it stands for the host.
struct UpdateFound {
    AppcastItem item;
    AppcastItemState state;
    // Why the item cannot be installed here, when it cannot: it is
    // informational, an installer package, or its download is not HTTPS.
    // It is still reported, so that its version and page can be shown.
    std::optional<UpdaterError> installRefusal;
};

}  // namespace tarnel
