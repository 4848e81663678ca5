#pragma once

#include "core/records/application.h"
#include "core/records/cask.h"
#include "core/records/update_state.h"
#include "homebrew/cask_index.h"
#include "homebrew/cask_locations.h"
#include "homebrew/custom_cask_validation_result.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class BrewService;
class Clock;
class Logger;

// Knows the cask catalogue and the installed casks, and adopts applications
// into casks. The catalogue is parsed and indexed on the worker pool into an
// immutable snapshot that is swapped in whole, so matching can read it on
// any thread while a newer one is being built.
class CaskService {
public:
    CaskService(Logger& logger, BrewService& brewService, const Clock& clock,
                CaskLocations locations);

    // Without deprecated and disabled casks the catalogue is kept for 30
    // minutes; with them it is fetched afresh on every call and not kept.
    QCoro::Task<std::shared_ptr<const CaskIndex>> fetchCasks(bool includeDeprecated);
    // The tokens `brew list --cask` prints, kept for 5 minutes.
    QCoro::Task<QStringList> fetchInstalledCasks();
    QCoro::Task<std::optional<Cask>> findCaskByToken(QString token);
    // Forgets the installed casks, so that the next question runs `brew list`.
    void clearInstalledCasksCache();

    const CaskLocations& locations() const { return places; }

    // `brew install --cask --adopt`: takes over the bundle in place.
    QCoro::Task<> adoptCask(Cask cask, bool noQuarantine, bool hasAdminPermission,
                            ProgressHandler progressHandler);
    // `brew install --cask --force`: replaces the bundle.
    QCoro::Task<> forceInstallCask(Cask cask, bool noQuarantine, bool hasAdminPermission,
                                   ProgressHandler progressHandler);
    // `token` is already trimmed; every comparison is exact, case included.
    QCoro::Task<CustomCaskValidationResult> validateCustomCask(QString token,
                                                               QList<Application> applications);

private:
    Logger& logger;
    BrewService& brewService;
    const Clock& clock;
    CaskLocations places;
    std::shared_ptr<const CaskIndex> cachedCasks;
    std::optional<QDateTime> lastCacheUpdate;
    std::optional<QStringList> cachedInstalledCasks;
    std::optional<QDateTime> lastInstalledCacheUpdate;
};

}  // namespace tarnel
