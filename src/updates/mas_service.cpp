#include "updates/mas_service.h"

#include "core/async/continuation.h"
#include "core/clock.h"
#include "core/logger.h"
#include "core/process_launch_error.h"
#include "core/strict_utf8.h"
#include "core/system_layout.h"
#include "updates/mas_error.h"
#include "updates/mas_output_parser.h"

#include <QFileInfo>
#include <QProcess>

#include <exception>
#include <utility>

namespace tarnel {

namespace {

// Resumes once the process no longer runs: it has ended, or it never started.
// Waiting on the state covers both, where waiting for the start or the end
// alone would hang on a program that cannot be executed.
QCoro::Task<> untilStopped(QProcess& process) {
    if (process.state() == QProcess::NotRunning) {
        co_return;
    }
    co_await suspendUntilResumed<void>([&process](ContinuationResumer<void> resumer) {
        QObject::connect(&process, &QProcess::stateChanged, &process,
                         [resumer](QProcess::ProcessState state) {
                             if (state == QProcess::NotRunning) {
                                 resumer.resume();
                             }
                         });
    });
}

QCoro::Task<> report(const ProgressHandler& progressHandler, UpdateState state) {
    if (progressHandler) {
        co_await progressHandler(std::move(state));
    }
}

}  // namespace

MASService::MASService(Logger& logger, const SystemLayout& layout, const Clock& clock)
    : logger(logger), masCandidates(layout.masCandidates), clock(clock) {}

QCoro::Task<std::optional<QString>> MASService::findMASPath() {
    constexpr std::chrono::seconds lifetime{30};
    if (clock.isWithin(lastPathCheck, lifetime) && cachedMASPath) {
        // Copied on purpose: returning a member as it is would move it away.
        co_return std::optional<QString>(cachedMASPath);
    }
    lastPathCheck = clock.now();
    for (const QString& candidate : masCandidates) {
        const QFileInfo info(candidate);
        if (info.isFile() && info.isExecutable()) {
            cachedMASPath = candidate;
            logger.info(QStringLiteral("Found MAS CLI at: %1").arg(candidate));
            co_return candidate;
        }
    }
    cachedMASPath.reset();
    logger.info(QStringLiteral("MAS CLI not found"));
    co_return std::nullopt;
}

QCoro::Task<QString> MASService::runMASCommand(QStringList arguments) {
    const AsyncMutexLock turn = co_await commandTurn.lock();
    co_return co_await runInTurn(turn, std::move(arguments));
}

QCoro::Task<QList<MASApp>> MASService::fetchInstalledMASApps() {
    constexpr std::chrono::seconds lifetime{300};
    const AsyncMutexLock turn = co_await commandTurn.lock();
    if (clock.isWithin(lastInstalledAppsCheck, lifetime) && !installedAppsCache.isEmpty()) {
        co_return QList<MASApp>(installedAppsCache);
    }
    const QString output = co_await runInTurn(turn, {QStringLiteral("list")});
    const QList<MASApp> apps = parseMASList(output);
    installedAppsCache = apps;
    lastInstalledAppsCheck = clock.now();
    logger.info(QStringLiteral("Found %1 MAS apps").arg(apps.size()));
    co_return apps;
}

QCoro::Task<QList<MASUpdate>> MASService::fetchOutdatedMASApps() {
    constexpr std::chrono::seconds lifetime{600};
    const AsyncMutexLock turn = co_await commandTurn.lock();
    if (clock.isWithin(lastUpdateCheck, lifetime) && !masUpdatesCache.isEmpty()) {
        co_return masUpdatesCache.values();
    }
    const QString output = co_await runInTurn(turn, {QStringLiteral("outdated")});
    const QList<MASUpdate> updates = parseMASOutdated(output);
    masUpdatesCache.clear();
    for (const MASUpdate& update : updates) {
        masUpdatesCache.insert(update.appId, update);
    }
    lastUpdateCheck = clock.now();
    logger.info(QStringLiteral("Found %1 MAS updates").arg(updates.size()));
    co_return updates;
}

QCoro::Task<> MASService::upgradeMASApp(QString appId, ProgressHandler progressHandler) {
    co_await report(progressHandler, UpdateState::installing());
    QString output;
    std::exception_ptr failure;
    try {
        output = co_await runMASCommand({QStringLiteral("upgrade"), appId});
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        co_await report(progressHandler, UpdateState::error(QStringLiteral("Update failed")));
        std::rethrow_exception(failure);
    }
    co_await report(progressHandler, UpdateState::completed());
    logger.info(QStringLiteral("Successfully updated MAS app %1: %2").arg(appId, output));
    co_await clearMASCaches();
}

QCoro::Task<> MASService::clearMASCaches() {
    const AsyncMutexLock turn = co_await commandTurn.lock();
    masUpdatesCache.clear();
    installedAppsCache.clear();
    lastUpdateCheck.reset();
    lastInstalledAppsCheck.reset();
    logger.info(QStringLiteral("Cleared MAS caches"));
}

QCoro::Task<QString> MASService::runInTurn(const AsyncMutexLock& /*turn*/, QStringList arguments) {
    const std::optional<QString> path = co_await findMASPath();
    if (!path) {
        throw MASError::notInstalled();
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    // Nothing is ever written to `mas`: an input left open would keep a tool
    // that reads it waiting, and every later command behind it.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setProgram(*path);
    process.setArguments(arguments);
    process.start(QIODevice::ReadOnly);
    co_await untilStopped(process);
    if (process.error() == QProcess::FailedToStart) {
        throw ProcessLaunchError(*path, process.errorString());
    }
    // The output is read once the process has ended, as one text.
    const QString text = decodeStrictUtf8(process.readAll());
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        throw MASError::commandFailed(text);
    }
    co_return text;
}

}  // namespace tarnel
