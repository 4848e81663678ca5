#include "app/cli/pending_updates.h"

#include <algorithm>

namespace tarnel {

namespace {

template <typename Update, typename Predicate>
std::optional<Update> firstOf(const QList<Update>& updates, Predicate predicate) {
    const auto found = std::find_if(updates.begin(), updates.end(), predicate);
    return found == updates.end() ? std::nullopt : std::optional<Update>(*found);
}

}  // namespace

QString updateSourceName(UpdateSource source) {
    switch (source) {
        case UpdateSource::homebrew:
            return QStringLiteral("Homebrew");
        case UpdateSource::sparkle:
            return QStringLiteral("Sparkle");
        case UpdateSource::macAppStore:
            return QStringLiteral("Mac App Store");
    }
    return {};
}

PendingUpdates pendingUpdatesOf(const Application& application, const UpdateLists& updates) {
    PendingUpdates pending;
    pending.sparkleUpdate = firstOf(updates.sparkleUpdates, [&](const SparkleUpdate& update) {
        return update.applicationId == application.id;
    });
    pending.brewUpdate = firstOf(updates.brewUpdates, [&](const BrewUpdate& update) {
        return update.applicationId == application.id;
    });
    if (application.masApp) {
        pending.masUpdate = firstOf(updates.masUpdates, [&](const MASUpdate& update) {
            return update.appId == application.masApp->id;
        });
    }
    return pending;
}

}  // namespace tarnel
