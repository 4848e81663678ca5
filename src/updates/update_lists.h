#pragma once

#include "core/records/brew_update.h"
#include "core/records/mas_update.h"
#include "core/records/sparkle_update.h"

#include <QList>

namespace tarnel {

// What one comprehensive update discovery found, a list per source.
struct UpdateLists {
    QList<BrewUpdate> brewUpdates;
    QList<SparkleUpdate> sparkleUpdates;
    QList<MASUpdate> masUpdates;
};

}  // namespace tarnel
