#include "app/cli/match_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_table.h"
#include "app/cli/command_line.h"
#include "app/cli/command_session.h"
#include "app/console/command_parser.h"
#include "core/async/task_group.h"
#include "core/async/worker_pool.h"
#include "core/logger.h"
#include "core/system_layout.h"
#include "homebrew/brew_error.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_catalogue_parser.h"
#include "homebrew/cask_error.h"
#include "homebrew/cask_index.h"
#include "homebrew/cask_locations.h"
#include "homebrew/cask_matcher.h"
#include "homebrew/json_syntax_error.h"
#include "platform/https_error.h"

#include <QFile>
#include <QFileInfo>

#include <memory>
#include <optional>
#include <utility>

namespace tarnel {

namespace {

const QString command = QStringLiteral("match");

// The body of a catalogue file, or why it could not be read.
struct CatalogueFile {
    QByteArray bytes;
    std::optional<QString> failure;
};

CatalogueFile readCatalogueFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {{}, file.errorString()};
    }
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        return {{}, file.errorString()};
    }
    return {std::move(bytes), std::nullopt};
}

// The catalogue's body, from `file` when given and else from the endpoint,
// through `brewService`. On a failure it says why and gives nothing.
QCoro::Task<std::optional<QByteArray>> loadCatalogue(std::optional<QString> file,
                                                     BrewService& brewService) {
    if (file) {
        const CatalogueFile read =
            co_await runOnWorkerPool([path = *file] { return readCatalogueFile(path); });
        if (read.failure) {
            reportCommandFailure(
                command,
                QStringLiteral("cannot read the catalogue %1: %2").arg(*file, *read.failure));
            co_return std::nullopt;
        }
        co_return read.bytes;
    }
    std::optional<QString> failure;
    try {
        co_return co_await brewService.fetchCaskCatalogue();
    } catch (const BrewError& error) {
        failure = error.description();
    } catch (const HttpsError& error) {
        failure = error.description();
    }
    reportCommandFailure(command, QStringLiteral("cannot fetch the catalogue: ") + *failure);
    co_return std::nullopt;
}

// The installed tokens as given, or nothing when the option is absent.
std::optional<QStringList> installedTokens(const CommandParser& parser,
                                           const QCommandLineOption& option) {
    if (!parser.isSet(option)) {
        return std::nullopt;
    }
    QStringList tokens;
    for (const QString& token : parser.value(option).split(u',')) {
        if (!token.trimmed().isEmpty()) {
            tokens.append(token.trimmed());
        }
    }
    return tokens;
}

// The catalogue both ways: without deprecated casks for the options, with
// them for the installed cask, which may have been deprecated since.
struct Catalogues {
    std::shared_ptr<const CaskIndex> current;
    std::shared_ptr<const CaskIndex> withDeprecated;
};

QCoro::Task<std::shared_ptr<const CaskIndex>> parsedOnWorkerPool(QByteArray bytes,
                                                                 bool includeDeprecated,
                                                                 QString applicationsFolder) {
    co_return co_await runOnWorkerPool([bytes, includeDeprecated, applicationsFolder] {
        return std::make_shared<const CaskIndex>(
            parseCaskCatalogue(bytes, includeDeprecated, applicationsFolder));
    });
}

// Both readings of the catalogue, with app artifacts in `applicationsFolder`.
// When it is malformed it says so, naming it by `source`, and gives nothing.
QCoro::Task<std::optional<Catalogues>> parseCatalogues(QByteArray bytes, QString source,
                                                       QString applicationsFolder) {
    std::optional<QString> failure;
    try {
        Catalogues catalogues;
        catalogues.current = co_await parsedOnWorkerPool(bytes, false, applicationsFolder);
        catalogues.withDeprecated = co_await parsedOnWorkerPool(bytes, true, applicationsFolder);
        co_return catalogues;
    } catch (const JSONSyntaxError& error) {
        failure = error.description();
    } catch (const CaskError& error) {
        failure = error.description();
    }
    reportCommandFailure(command,
                         QStringLiteral("the catalogue %1 is malformed: %2").arg(source, *failure));
    co_return std::nullopt;
}

// Unlike discovery, which hides the options of an adopted application, both
// are kept here so that a run shows everything the matcher decided.
Application matched(Application application, const Catalogues& catalogues,
                    const std::optional<QStringList>& installed, const CaskLocations& locations,
                    Logger& logger) {
    application.caskOptions = findCaskOptions(application, *catalogues.current, locations, logger);
    if (installed) {
        application.adoptedCask =
            findInstalledCask(application, *installed, *catalogues.withDeprecated, locations);
        application.alreadyAdopted = application.adoptedCask.has_value();
    }
    return application;
}

// Matches every application on the worker pool, in parallel, and gives them
// back in their original order.
QCoro::Task<QList<Application>> matchAll(QList<Application> applications, Catalogues catalogues,
                                         std::optional<QStringList> installed,
                                         CaskLocations locations, Logger& logger) {
    using Indexed = std::pair<qsizetype, Application>;
    Logger* const log = &logger;
    TaskGroup<Indexed> matching;
    for (qsizetype index = 0; index < applications.size(); ++index) {
        matching.add([=, application = applications.at(index)](CancellationToken) {
            return runOnWorkerPool([=] {
                return Indexed{index, matched(application, catalogues, installed, locations, *log)};
            });
        });
    }
    while (std::optional<Indexed> result = co_await matching.next()) {
        applications[result->first] = std::move(result->second);
    }
    co_return applications;
}

}  // namespace

QCoro::Task<int> runMatchCommand(QStringList arguments, SystemLayout layout) {
    const QCommandLineOption applicationsOption(
        QStringLiteral("applications"),
        QStringLiteral("The folder to match; by default the applications folder."),
        QStringLiteral("DIR"));
    const QCommandLineOption catalogueOption(QStringLiteral("catalogue"),
                                             QStringLiteral("A catalogue file to match against."),
                                             QStringLiteral("FILE"));
    const QCommandLineOption installedOption(
        QStringLiteral("installed"), QStringLiteral("The installed cask tokens, comma-separated."),
        QStringLiteral("TOKEN,..."));
    CommandParser parser(commandName(command),
                         QStringLiteral("tarnel-cli [--sandbox DIR] match [--applications DIR] "
                                        "[--catalogue FILE] [--installed TOKEN,...] [--json]"),
                         QStringLiteral("Matches the bundles against the cask catalogue."),
                         {applicationsOption, catalogueOption, installedOption, jsonOption()});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    // Bundle paths are absolute with links resolved, and app artifacts must
    // name the folder the same way to meet them.
    const QFileInfo folder(parser.isSet(applicationsOption) ? parser.value(applicationsOption)
                                                            : layout.applicationsDirectory);
    const QString root = folder.exists() ? folder.canonicalFilePath() : folder.absoluteFilePath();
    CommandSession session(command, layout, LogSink());
    Logger& logger = session.services().logger;
    const std::optional<QList<Application>> applications =
        co_await readApplicationsForCommand(root, layout.preferredLanguages, logger, command);
    if (!applications) {
        co_return 1;
    }

    const std::optional<QString> catalogueFile =
        parser.isSet(catalogueOption) ? std::optional(parser.value(catalogueOption)) : std::nullopt;
    const std::optional<QByteArray> bytes =
        co_await loadCatalogue(catalogueFile, session.services().brewService);
    if (!bytes) {
        co_return 1;
    }
    // App artifacts point into the folder being matched, so that a copy of
    // the applications elsewhere matches by path as it would in place.
    const std::optional<Catalogues> catalogues = co_await parseCatalogues(
        *bytes, catalogueFile.value_or(layout.catalogueUrl.toString()), root);
    if (!catalogues) {
        co_return 1;
    }

    const QList<Application> results =
        co_await matchAll(*applications, *catalogues, installedTokens(parser, installedOption),
                          CaskLocations{root, layout.homeDirectory}, logger);
    co_return session.succeed(parser.isSet(jsonOption()) ? jsonArrayText(results, matchJson)
                                                         : matchTable(results).toUtf8());
}

}  // namespace tarnel
