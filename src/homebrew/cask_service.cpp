#include "homebrew/cask_service.h"

#include "core/async/failure_of.h"
#include "core/async/worker_pool.h"
#include "core/clock.h"
#include "core/logger.h"
#include "homebrew/brew_error.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_adoption_error.h"
#include "homebrew/cask_catalogue_parser.h"

#include <QRegularExpression>

#include <algorithm>
#include <exception>

namespace tarnel {

namespace {

constexpr std::chrono::seconds catalogueLifetime{1800};
constexpr std::chrono::seconds installedLifetime{300};

QStringList installArguments(const QString& mode, const Cask& cask, bool noQuarantine) {
    QStringList arguments{QStringLiteral("install"), QStringLiteral("--cask"), mode, cask.name};
    if (noQuarantine) {
        arguments.append(QStringLiteral("--no-quarantine"));
    }
    return arguments;
}

// Homebrew's own failures arrive as BrewError; only an error of another type
// whose words tell of a version conflict becomes a version mismatch, so the
// type test must come first.
[[noreturn]] void throwSortedAdoptionFailure(std::exception_ptr failure, const Cask& cask) {
    try {
        std::rethrow_exception(failure);
    } catch (const BrewError& error) {
        if (error.kind() == BrewError::Kind::adminPermissionRequired) {
            throw CaskAdoptionError::adminPermissionRequired();
        }
        throw;
    } catch (const std::exception& error) {
        const QString description = QString::fromUtf8(error.what());
        if (!description.contains(QStringLiteral("bundle short version")) &&
            !description.contains(QStringLiteral("existing App is different"))) {
            throw;
        }
        static const QRegularExpression versions(QStringLiteral(R"(is (\S+) but is (\S+) for)"),
                                                 QRegularExpression::UseUnicodePropertiesOption);
        const QRegularExpressionMatch match = versions.match(description);
        const QString unknown = QStringLiteral("unknown");
        throw CaskAdoptionError::versionMismatch(match.hasMatch() ? match.captured(2) : unknown,
                                                 match.hasMatch() ? match.captured(1) : unknown,
                                                 cask.name);
    }
}

}  // namespace

CaskService::CaskService(Logger& logger, BrewService& brewService, const Clock& clock,
                         CaskLocations locations)
    : logger(logger), brewService(brewService), clock(clock), places(std::move(locations)) {}

QCoro::Task<std::shared_ptr<const CaskIndex>> CaskService::fetchCasks(bool includeDeprecated) {
    if (!includeDeprecated && cachedCasks && clock.isWithin(lastCacheUpdate, catalogueLifetime)) {
        logger.info(
            QStringLiteral("Using cached casks (%1 items)").arg(cachedCasks->casks().size()));
        co_return std::shared_ptr<const CaskIndex>(cachedCasks);
    }
    const QByteArray bytes = co_await brewService.fetchCaskCatalogue();
    const QString applicationsFolder = places.applicationsDirectory;
    std::shared_ptr<const CaskIndex> index =
        co_await runOnWorkerPool([bytes, includeDeprecated, applicationsFolder] {
            return std::make_shared<const CaskIndex>(
                parseCaskCatalogue(bytes, includeDeprecated, applicationsFolder));
        });
    if (includeDeprecated) {
        logger.info(QStringLiteral("Parsed %1 casks from API (including deprecated)")
                        .arg(index->casks().size()));
        co_return index;
    }
    cachedCasks = index;
    lastCacheUpdate = clock.now();
    logger.info(QStringLiteral("Parsed %1 casks from API").arg(index->casks().size()));
    co_return index;
}

void CaskService::clearInstalledCasksCache() {
    cachedInstalledCasks.reset();
    lastInstalledCacheUpdate.reset();
}

QCoro::Task<QStringList> CaskService::fetchInstalledCasks() {
    if (cachedInstalledCasks && clock.isWithin(lastInstalledCacheUpdate, installedLifetime)) {
        co_return QStringList(*cachedInstalledCasks);
    }
    const QString output = co_await brewService.executeBrewCommand(
        {QStringLiteral("list"), QStringLiteral("--cask")}, false, false, {}, true);
    QStringList tokens;
    for (const QString& line : output.split(u'\n')) {
        const QString token = line.trimmed();
        if (!token.isEmpty()) {
            tokens.append(token);
        }
    }
    cachedInstalledCasks = tokens;
    lastInstalledCacheUpdate = clock.now();
    logger.info(QStringLiteral("Found %1 installed casks").arg(tokens.size()));
    co_return tokens;
}

QCoro::Task<std::optional<Cask>> CaskService::findCaskByToken(QString token) {
    const std::shared_ptr<const CaskIndex> index = co_await fetchCasks(false);
    if (const Cask* cask = index->firstCaskWithToken(token)) {
        co_return *cask;
    }
    co_return std::nullopt;
}

QCoro::Task<> CaskService::adoptCask(Cask cask, bool noQuarantine, bool hasAdminPermission,
                                     ProgressHandler progressHandler) {
    const QStringList arguments = installArguments(QStringLiteral("--adopt"), cask, noQuarantine);
    logger.info(QStringLiteral("Adopting existing app to cask: %1").arg(cask.name));
    if (const auto failure = co_await failureOf(brewService.executeBrewCommand(
            arguments, cask.manualInstaller, false, progressHandler, hasAdminPermission))) {
        throwSortedAdoptionFailure(*failure, cask);
    }
    logger.info(QStringLiteral("Successfully adopted cask: %1").arg(cask.name));
}

QCoro::Task<> CaskService::forceInstallCask(Cask cask, bool noQuarantine, bool hasAdminPermission,
                                            ProgressHandler progressHandler) {
    const QStringList arguments = installArguments(QStringLiteral("--force"), cask, noQuarantine);
    logger.warning(
        QStringLiteral("Force installing cask (will replace existing app): %1").arg(cask.name));
    try {
        // Replacing the bundle never asks for the password up front, not even
        // for a cask with an installer package.
        co_await brewService.executeBrewCommand(arguments, false, false, progressHandler,
                                                hasAdminPermission);
    } catch (const BrewError& error) {
        if (error.kind() == BrewError::Kind::adminPermissionRequired) {
            throw CaskAdoptionError::adminPermissionRequired();
        }
        throw;
    }
    logger.info(QStringLiteral("Successfully force-installed cask: %1").arg(cask.name));
}

QCoro::Task<CustomCaskValidationResult> CaskService::validateCustomCask(
    QString token, QList<Application> applications) {
    using Kind = CustomCaskValidationResult::Kind;
    for (const Application& application : applications) {
        const bool adoptedAs = application.adoptedCask && application.adoptedCask->name == token;
        const bool offered =
            std::any_of(application.caskOptions.begin(), application.caskOptions.end(),
                        [&](const Cask& option) { return option.name == token; });
        if (adoptedAs || offered) {
            co_return CustomCaskValidationResult{Kind::alreadyInUse, std::nullopt};
        }
    }
    const QStringList installed = co_await fetchInstalledCasks();
    if (installed.contains(token)) {
        co_return CustomCaskValidationResult{Kind::alreadyInstalled, std::nullopt};
    }
    std::optional<Cask> cask = co_await findCaskByToken(token);
    if (!cask) {
        co_return CustomCaskValidationResult{Kind::notFound, std::nullopt};
    }
    co_return CustomCaskValidationResult{Kind::valid, std::move(cask)};
}

}  // namespace tarnel
