#pragma once

#include "core/records/update_state.h"
#include "core/system_layout.h"
#include "homebrew/brew_error.h"
#include "homebrew/brew_process_runner.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class AskpassService;
class Clock;
class HttpsClient;
class Logger;

// The only place that launches `brew` or reaches the catalogue endpoint.
// Lives on the main thread; its state changes only between awaits, and two
// commands may be in flight at once.
class BrewService {
public:
    BrewService(Logger& logger, AskpassService& askpassService, HttpsClient& httpsClient,
                const SystemLayout& layout, const Clock& clock);

    // The first candidate path that exists; executability is not tested.
    std::optional<QString> locateBrew() const;
    // Searches while no path is cached; once found, a path is never checked again.
    bool isHomebrewAvailable();
    const std::optional<QString>& cachedBrewPath() const { return cachedPath; }
    void setCachedBrewPath(std::optional<QString> path) { cachedPath = std::move(path); }

    // Runs `brew` with the arguments and gives its trimmed standard output.
    // A failed run is retried once with the askpass environment when the user
    // allows it. Throws `BrewError`, or `ProcessLaunchError` when `brew`
    // cannot be started.
    QCoro::Task<QString> executeBrewCommand(QStringList arguments, bool requiresAdmin,
                                            bool toleratesOutdatedExit,
                                            ProgressHandler progressHandler,
                                            bool hasAdminPermission);
    // Runs `brew update` at most once in 30 minutes of success. Never throws.
    QCoro::Task<> updateHomebrew();
    // The body of the catalogue endpoint. Throws `BrewError`, or
    // `HttpsError` when no HTTP answer came.
    QCoro::Task<QByteArray> fetchCaskCatalogue();

private:
    std::optional<QString> brewPath();
    void logCommand(const QStringList& arguments, bool requiresAdmin, bool hasAdminPermission);
    // Logs a failure that stands after every run, and gives the error to throw.
    QCoro::Task<BrewError> finalFailure(const BrewProcessResult& result, bool hasAdminPermission,
                                        const ProgressHandler& progressHandler);

    Logger& logger;
    const Clock& clock;
    QUrl catalogueUrl;
    QStringList brewCandidates;
    BrewProcessRunner runner;
    HttpsClient& httpsClient;
    std::optional<QString> cachedPath;
    std::optional<QDateTime> lastUpdateTime;
};

}  // namespace tarnel
