#include "discovery/discovery_service.h"

#include "core/async/task_group.h"
#include "core/async/task_handle.h"
#include "core/async/worker_pool.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "discovery/application_reader.h"
#include "discovery/bundle_scanner.h"
#include "discovery/discovery_error.h"
#include "discovery/exclusion_service.h"
#include "homebrew/cask_matcher.h"
#include "homebrew/cask_service.h"
#include "updates/mas_service.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <exception>

namespace tarnel {

namespace {

using CaskSnapshot = std::shared_ptr<const CaskIndex>;

QString seconds(const QElapsedTimer& timer) {
    return QString::number(static_cast<double>(timer.nsecsElapsed()) / 1e9, 'f', 2);
}

// Waits for a fetch that is no longer wanted, so that a failed run leaves
// nothing of its own behind; its result and error are dropped.
template <typename T>
QCoro::Task<> settle(TaskHandle<T> task) {
    if (!task.isValid()) {
        co_return;
    }
    task.cancel();
    try {
        co_await task.result();
    } catch (...) {
        // The run already failed for another reason.
    }
}

// The matching of one application, pure so that it runs on the worker pool.
Application decide(Application application, const QStringList& installedCasks,
                   const CaskIndex& allCasks, bool enableMASSupport, const QList<MASApp>& masApps,
                   bool hideMASAppCaskSuggestions, const CaskIndex& casks,
                   const CaskLocations& locations, Logger& logger) {
    std::optional<Cask> adopted =
        findInstalledCask(application, installedCasks, allCasks, locations);
    std::optional<MASApp> masApp;
    if (enableMASSupport) {
        for (const MASApp& candidate : masApps) {
            if (candidate.name == application.displayName) {
                masApp = candidate;
                break;
            }
        }
    }
    application.masApp = masApp;
    application.alreadyAdopted = adopted.has_value();
    application.adoptedCask = std::move(adopted);
    const bool hidesSuggestions = masApp && hideMASAppCaskSuggestions;
    application.caskOptions = application.alreadyAdopted || application.excluded || hidesSuggestions
                                  ? QList<Cask>()
                                  : findCaskOptions(application, casks, locations, logger);
    return application;
}

}  // namespace

DiscoveryService::DiscoveryService(Logger& logger, ExclusionService& exclusionService,
                                   CaskService& caskService, MASService& masService,
                                   SettingsStore& settings, const SystemLayout& layout)
    : logger(logger),
      exclusionService(exclusionService),
      caskService(caskService),
      masService(masService),
      settings(settings),
      layout(layout) {}

QCoro::Task<QList<Application>> DiscoveryService::discoverApplications(ProgressCallback progress) {
    if (!progress) {
        progress = [](double) -> QCoro::Task<> { co_return; };
    }
    QElapsedTimer total;
    total.start();
    co_await progress(0.0);
    logger.info(QStringLiteral("Starting application discovery in /Applications"));
    if (!QFileInfo::exists(layout.applicationsDirectory)) {
        logger.error(QStringLiteral("/Applications directory not found"));
        throw DiscoveryError(DiscoveryError::Kind::applicationsDirectoryNotFound);
    }
    const bool enableMASSupport = settings.boolValue(QStringLiteral("enableMASSupport"));
    const bool hideMASAppCaskSuggestions =
        settings.boolValue(QStringLiteral("hideMASAppCaskSuggestions"));

    // The fetches run behind the walk of the disk.
    const QSet<QString> userExclusions = exclusionService.userExclusions();
    const QSet<QString> hardCodedExclusions = exclusionService.hardCodedExclusions();
    auto casksTask = TaskHandle<CaskSnapshot>::start(
        [this](CancellationToken) { return caskService.fetchCasks(false); });
    auto allCasksTask = TaskHandle<CaskSnapshot>::start(
        [this](CancellationToken) { return caskService.fetchCasks(true); });
    auto installedTask = TaskHandle<QStringList>::start(
        [this](CancellationToken) { return caskService.fetchInstalledCasks(); });
    TaskHandle<QList<MASApp>> storeTask;
    if (enableMASSupport) {
        storeTask = TaskHandle<QList<MASApp>>::start(
            [this](CancellationToken) { return fetchStoreApplications(); });
    }
    const auto settleFetches = [&]() -> QCoro::Task<> {
        co_await settle(casksTask);
        co_await settle(allCasksTask);
        co_await settle(installedTask);
        co_await settle(storeTask);
    };

    QElapsedTimer stage;
    stage.start();
    QStringList bundles;
    std::exception_ptr failure;
    try {
        const QString root = layout.applicationsDirectory;
        bundles = co_await runOnWorkerPool([root] { return scanApplicationBundles(root); });
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        co_await settleFetches();
        std::rethrow_exception(failure);
    }
    co_await progress(0.1);

    TaskGroup<std::optional<Application>> reads;
    for (const QString& bundle : bundles) {
        reads.add([this, bundle](CancellationToken) { return createApplication(bundle); });
    }
    QList<Application> applications;
    while (auto read = co_await reads.next()) {
        if (*read) {
            applications.append(std::move(**read));
        }
    }
    co_await progress(0.2);
    logger.info(QStringLiteral("Application discovery complete. Found %1 applications in %2s")
                    .arg(applications.size())
                    .arg(seconds(stage)));

    // The exclusions were read when the run began, so there is nothing left to wait for.
    stage.restart();
    logger.info(QStringLiteral("Loaded exclusions in %1s").arg(seconds(stage)));
    applications = applyExclusions(std::move(applications), hardCodedExclusions, userExclusions);
    for (Application& application : applications) {
        application.caskOptions.clear();
    }
    co_await progress(0.3);

    stage.restart();
    CaskSnapshot casks;
    CaskSnapshot allCasks;
    QStringList installedCasks;
    QList<MASApp> masApps;
    try {
        casks = co_await casksTask.result();
        co_await progress(0.4);
        allCasks = co_await allCasksTask.result();
        co_await progress(0.5);
        installedCasks = co_await installedTask.result();
        co_await progress(0.55);
        if (storeTask.isValid()) {
            masApps = co_await storeTask.result();
        }
        co_await progress(0.6);
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        co_await settleFetches();
        std::rethrow_exception(failure);
    }
    logger.info(QStringLiteral("Fetched %1 casks, %2 installed casks, and %3 MAS apps in %4s")
                    .arg(casks->casks().size())
                    .arg(installedCasks.size())
                    .arg(masApps.size())
                    .arg(seconds(stage)));
    logger.info(
        QStringLiteral("Processing %1 apps for cask and MAS discovery").arg(applications.size()));

    stage.restart();
    TaskGroup<Application> processing;
    for (const Application& application : applications) {
        processing.add([=, this](CancellationToken) {
            return processApplication(application, installedCasks, allCasks, enableMASSupport,
                                      masApps, hideMASAppCaskSuggestions, casks);
        });
    }
    const auto applicationCount = applications.size();
    QList<Application> finished;
    while (auto processed = co_await processing.next()) {
        finished.append(std::move(*processed));
        co_await progress(0.6 + 0.4 * static_cast<double>(finished.size()) /
                                    static_cast<double>(applicationCount));
    }
    logger.info(QStringLiteral("Completed cask and MAS discovery for %1 apps in %2s")
                    .arg(finished.size())
                    .arg(seconds(stage)));
    logger.info(QStringLiteral("Discovery complete! Found %1 apps in %2s total")
                    .arg(finished.size())
                    .arg(seconds(total)));
    co_return finished;
}

QCoro::Task<std::optional<Application>> DiscoveryService::createApplication(QString bundlePath) {
    const QStringList languages = layout.preferredLanguages;
    Logger* const log = &logger;
    co_return co_await runOnWorkerPool([bundlePath, languages, log] {
        return tarnel::createApplication(bundlePath, languages, *log);
    });
}

QCoro::Task<Application> DiscoveryService::processApplication(
    Application application, QStringList installedCasks, std::shared_ptr<const CaskIndex> allCasks,
    bool enableMASSupport, QList<MASApp> masApps, bool hideMASAppCaskSuggestions,
    std::shared_ptr<const CaskIndex> casks) {
    const CaskLocations locations = caskService.locations();
    Logger* const log = &logger;
    co_return co_await runOnWorkerPool([=] {
        return decide(application, installedCasks, *allCasks, enableMASSupport, masApps,
                      hideMASAppCaskSuggestions, *casks, locations, *log);
    });
}

QCoro::Task<QList<MASApp>> DiscoveryService::fetchStoreApplications() {
    try {
        co_return co_await masService.fetchInstalledMASApps();
    } catch (const std::exception& error) {
        logger.warning(
            QStringLiteral("Failed to get MAS apps: %1").arg(QString::fromUtf8(error.what())));
    }
    co_return QList<MASApp>();
}

QCoro::Task<std::optional<Application>> DiscoveryService::refreshApplication(
    Application application) {
    std::optional<Application> fresh = co_await createApplication(application.bundlePath);
    if (!fresh) {
        co_return std::nullopt;
    }
    Application result = *fresh;
    result.id = application.id;
    result.excluded = application.excluded;
    result.caskOptions = application.caskOptions;
    result.masApp = application.masApp;
    result.adoptedCask = application.adoptedCask;
    result.alreadyAdopted = application.alreadyAdopted;
    if (application.alreadyAdopted && application.adoptedCask) {
        const AdoptionVerdict verdict = co_await reverifyAdoption(*fresh, *application.adoptedCask);
        if (verdict.outcome != AdoptionVerdict::Outcome::keepAdoption) {
            result.adoptedCask = verdict.cask;
            result.alreadyAdopted = verdict.cask.has_value();
        }
    }
    logger.info(QStringLiteral("Refreshed application bundle info for %1").arg(fresh->displayName));
    co_return result;
}

QCoro::Task<DiscoveryService::AdoptionVerdict> DiscoveryService::reverifyAdoption(Application fresh,
                                                                                  Cask cask) {
    using Outcome = AdoptionVerdict::Outcome;
    const auto unverifiable = [&](const std::exception& error) {
        logger.error(QStringLiteral("Failed to verify adoption status for %1: %2")
                         .arg(fresh.displayName, QString::fromUtf8(error.what())));
    };
    QStringList installed;
    try {
        installed = co_await caskService.fetchInstalledCasks();
    } catch (const std::exception& error) {
        unverifiable(error);
        co_return AdoptionVerdict{Outcome::keepAdoption, std::nullopt};
    }
    if (!installed.contains(cask.name)) {
        logger.warning(QStringLiteral("Cask %1 is no longer installed for app %2")
                           .arg(cask.name, fresh.displayName));
        co_return AdoptionVerdict{Outcome::lost, std::nullopt};
    }
    CaskSnapshot catalogue;
    try {
        catalogue = co_await caskService.fetchCasks(true);
    } catch (const std::exception& error) {
        unverifiable(error);
        co_return AdoptionVerdict{Outcome::keepAdoption, std::nullopt};
    }
    if (!catalogue->firstCaskWithToken(cask.name)) {
        logger.warning(QStringLiteral("Cask %1 no longer exists for app %2")
                           .arg(cask.name, fresh.displayName));
        co_return AdoptionVerdict{Outcome::lost, std::nullopt};
    }
    const std::optional<Cask> managing =
        findInstalledCask(fresh, installed, *catalogue, caskService.locations());
    if (managing && managing->name == cask.name) {
        logger.info(QStringLiteral("Verified %1 is still managed by cask: %2")
                        .arg(fresh.displayName, cask.name));
        co_return AdoptionVerdict{Outcome::verified, managing};
    }
    logger.warning(QStringLiteral("App %1 is no longer managed by cask %2 after update")
                       .arg(fresh.displayName, cask.name));
    co_return AdoptionVerdict{Outcome::lost, std::nullopt};
}

}  // namespace tarnel
