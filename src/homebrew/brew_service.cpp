#include "homebrew/brew_service.h"

#include "core/clock.h"
#include "core/logger.h"
#include "platform/https_client.h"
#include "platform/https_error.h"

#include <QFileInfo>

namespace tarnel {

namespace {

constexpr std::chrono::seconds updateThrottle{1800};
// Far above the real catalogue, which is held whole and parsed at once.
constexpr qint64 catalogueMaximumSize = 256LL * 1024 * 1024;

QString boolText(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

bool isOutdatedCommand(const QStringList& arguments) {
    return arguments.contains(QStringLiteral("outdated"));
}

QCoro::Task<> reportCommandFailed(const ProgressHandler& progressHandler) {
    if (progressHandler) {
        co_await progressHandler(UpdateState::error(QStringLiteral("Command failed")));
    }
}

}  // namespace

BrewService::BrewService(Logger& logger, AskpassService& askpassService, HttpsClient& httpsClient,
                         const SystemLayout& layout, const Clock& clock)
    : logger(logger),
      clock(clock),
      catalogueUrl(layout.catalogueUrl),
      brewCandidates(layout.brewCandidates),
      runner(logger, askpassService, layout.homeDirectory),
      httpsClient(httpsClient) {}

std::optional<QString> BrewService::locateBrew() const {
    for (const QString& candidate : brewCandidates) {
        if (QFileInfo::exists(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

bool BrewService::isHomebrewAvailable() {
    return brewPath().has_value();
}

std::optional<QString> BrewService::brewPath() {
    if (!cachedPath) {
        cachedPath = locateBrew();
    }
    return cachedPath;
}

void BrewService::logCommand(const QStringList& arguments, bool requiresAdmin,
                             bool hasAdminPermission) {
    logger.info(QStringLiteral("Executing brew command: ") + arguments.join(u' '));
    logger.info(QStringLiteral("Admin required: %1, Admin permission granted: %2")
                    .arg(boolText(requiresAdmin), boolText(hasAdminPermission)));
}

QCoro::Task<BrewError> BrewService::finalFailure(const BrewProcessResult& result,
                                                 bool hasAdminPermission,
                                                 const ProgressHandler& progressHandler) {
    // Without the permission every failure is answered the same way, whatever
    // its cause, so that the user is led to the setting.
    if (!hasAdminPermission) {
        logger.error(
            QStringLiteral("Brew command failed and admin permission not granted by user"));
        co_return BrewError::adminPermissionRequired();
    }
    logger.error(QStringLiteral("Brew command failed even with admin privileges. Status: %1")
                     .arg(result.exitStatus));
    logger.error(QStringLiteral("Final output: ") + result.standardOutput);
    co_await reportCommandFailed(progressHandler);
    co_return BrewError::commandFailed(result.standardOutput, result.standardError);
}

QCoro::Task<QString> BrewService::executeBrewCommand(QStringList arguments, bool requiresAdmin,
                                                     bool toleratesOutdatedExit,
                                                     ProgressHandler progressHandler,
                                                     bool hasAdminPermission) {
    const std::optional<QString> path = brewPath();
    if (!path) {
        throw BrewError::homebrewNotFound();
    }
    logCommand(arguments, requiresAdmin, hasAdminPermission);
    if (progressHandler) {
        co_await progressHandler(UpdateState::initializing());
    }

    BrewProcessResult result =
        co_await runner.run(*path, arguments, requiresAdmin, progressHandler, hasAdminPermission);
    // The status alone decides the retry; no text of the output is read.
    if (result.exitStatus != 0 && !requiresAdmin && hasAdminPermission) {
        logger.info(QStringLiteral("Brew command failed, retrying with admin privileges..."));
        logger.info(QStringLiteral("First attempt failed with: ") + result.standardOutput);
        result = co_await runner.run(*path, arguments, true, progressHandler, true);
    }

    if (toleratesOutdatedExit && isOutdatedCommand(arguments)) {
        // `outdated` answers 1 when it found something to report.
        if (result.exitStatus > 1) {
            logger.error(QStringLiteral("Brew command failed with status %1: %2")
                             .arg(QString::number(result.exitStatus), result.standardOutput));
            co_await reportCommandFailed(progressHandler);
            throw BrewError::commandFailed(result.standardOutput, result.standardError);
        }
    } else if (result.exitStatus != 0) {
        throw co_await finalFailure(result, hasAdminPermission, progressHandler);
    }

    logger.info(QStringLiteral("Brew command completed successfully"));
    co_return result.standardOutput;
}

QCoro::Task<> BrewService::updateHomebrew() {
    if (clock.isWithin(lastUpdateTime, updateThrottle)) {
        logger.info(
            QStringLiteral("Skipping brew update - last update was less than 30 minutes ago"));
        co_return;
    }
    logger.info(QStringLiteral("Running brew update..."));
    const QString failurePrefix = QStringLiteral("brew update failed: ");
    const std::optional<QString> path = brewPath();
    if (!path) {
        logger.warning(failurePrefix + BrewError::homebrewNotFound().description());
        co_return;
    }

    const QStringList arguments{QStringLiteral("update")};
    logCommand(arguments, false, false);
    try {
        const BrewProcessResult result = co_await runner.run(*path, arguments, false, {}, false);
        if (result.exitStatus != 0) {
            throw co_await finalFailure(result, false, {});
        }
        logger.info(QStringLiteral("Brew command completed successfully"));
        lastUpdateTime = clock.now();
        logger.info(QStringLiteral("brew update completed successfully"));
        if (!result.standardOutput.isEmpty()) {
            logger.info(QStringLiteral("brew update output: ") + result.standardOutput);
        }
    } catch (const std::exception& error) {
        logger.warning(failurePrefix + QString::fromUtf8(error.what()));
    }
}

QCoro::Task<QByteArray> BrewService::fetchCaskCatalogue() {
    logger.info(QStringLiteral("Fetching casks from Homebrew API"));
    HttpsRequest request;
    request.url = catalogueUrl;
    request.maximumSize = catalogueMaximumSize;
    try {
        HttpsResponse response = co_await httpsClient.get(request);
        if (response.status != 200) {
            throw BrewError::apiRequestFailed();
        }
        co_return std::move(response.body);
    } catch (const HttpsError& error) {
        // The client refuses a URL that is not HTTPS before any request;
        // every other failure without an HTTP answer is the session's own.
        switch (error.kind()) {
            case HttpsError::Kind::notHttps:
                throw BrewError::invalidAPIURL();
            case HttpsError::Kind::httpStatus:
                throw BrewError::apiRequestFailed();
            default:
                throw;
        }
    }
}

}  // namespace tarnel
