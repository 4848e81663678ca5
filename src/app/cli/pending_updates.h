#pragma once

#include "core/records/application.h"
#include "core/records/brew_update.h"
#include "core/records/mas_update.h"
#include "core/records/sparkle_update.h"
#include "updates/update_lists.h"

#include <QString>

#include <optional>

namespace tarnel {

enum class UpdateSource { homebrew, sparkle, macAppStore };

// "Homebrew", "Sparkle" or "Mac App Store", as the commands name a source.
QString updateSourceName(UpdateSource source);

// The pending update of each source for one application, found the way the
// detail pane finds them: the first Sparkle and Homebrew updates carrying
// its id, the first store update of its store record.
struct PendingUpdates {
    std::optional<SparkleUpdate> sparkleUpdate;
    std::optional<BrewUpdate> brewUpdate;
    std::optional<MASUpdate> masUpdate;
};

PendingUpdates pendingUpdatesOf(const Application& application, const UpdateLists& updates);

}  // namespace tarnel
