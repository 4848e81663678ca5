#pragma once

#include "core/records/application.h"
#include "core/records/mas_app.h"
#include "core/system_layout.h"
#include "homebrew/cask_index.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class CaskService;
class ExclusionService;
class Logger;
class MASService;
class SettingsStore;

// Turns the applications folder into finished `Application` records: the
// catalogue, the installed casks and the store applications are fetched while
// the disk is walked, then every bundle is read and every application matched
// in child tasks without a limit. Keeps no results; each run stands alone.
class DiscoveryService {
public:
    // Each report is awaited, so a slow callback slows the run. May be empty.
    using ProgressCallback = std::function<QCoro::Task<>(double fraction)>;

    DiscoveryService(Logger& logger, ExclusionService& exclusionService, CaskService& caskService,
                     MASService& masService, SettingsStore& settings, const SystemLayout& layout);

    QCoro::Task<QList<Application>> discoverApplications(ProgressCallback progress);

    // Reads one bundle on the worker pool; nothing when it is to be skipped.
    QCoro::Task<std::optional<Application>> createApplication(QString bundlePath);

    // Decides adoption, cask options and the store record of one application.
    // The matching runs on the worker pool against the snapshots.
    QCoro::Task<Application> processApplication(Application application, QStringList installedCasks,
                                                std::shared_ptr<const CaskIndex> allCasks,
                                                bool enableMASSupport, QList<MASApp> masApps,
                                                bool hideMASAppCaskSuggestions,
                                                std::shared_ptr<const CaskIndex> casks);

    // Reads the bundle again, keeping the identity and the user's decisions.
    // Nothing when the bundle can no longer be read.
    QCoro::Task<std::optional<Application>> refreshApplication(Application application);

private:
    // What a re-read found out about an adoption.
    struct AdoptionVerdict {
        enum class Outcome { keepAdoption, verified, lost };
        Outcome outcome = Outcome::keepAdoption;
        // The catalogue's record of the cask, when verified.
        std::optional<Cask> cask;
    };

    QCoro::Task<QList<MASApp>> fetchStoreApplications();
    QCoro::Task<AdoptionVerdict> reverifyAdoption(Application fresh, Cask cask);

    Logger& logger;
    ExclusionService& exclusionService;
    CaskService& caskService;
    MASService& masService;
    SettingsStore& settings;
    SystemLayout layout;
};

}  // namespace tarnel
