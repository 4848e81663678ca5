#pragma once

#include "core/records/application.h"
#include "updates/update_lists.h"

#include <QList>

namespace tarnel {

// What one of the coordinator's flows gives: the applications and their updates.
struct DiscoveryOutcome {
    QList<Application> applications;
    UpdateLists updates;
};

}  // namespace tarnel
