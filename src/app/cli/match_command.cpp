#include "app/cli/match_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_table.h"
#include "core/async/task_group.h"
#include "core/async/worker_pool.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_clock.h"
#include "core/system_layout.h"
#include "discovery/applications_folder_reader.h"
#include "discovery/directory_listing_error.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_error.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_catalogue_parser.h"
#include "homebrew/cask_error.h"
#include "homebrew/cask_index.h"
#include "homebrew/cask_locations.h"
#include "homebrew/cask_matcher.h"
#include "homebrew/json_syntax_error.h"
#include "homebrew/network_request_error.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

#include <memory>
#include <optional>
#include <utility>

namespace tarnel {

namespace {

const char errorPrefix[] = "tarnel-cli match: ";

// The body of a catalogue file, or why it could not be read.
struct CatalogueFile {
    QByteArray bytes;
    QString failure;
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
    return {std::move(bytes), {}};
}

// The installed tokens as given, or nothing when the option is absent.
std::optional<QStringList> installedTokens(const QCommandLineParser& parser,
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

QByteArray jsonOutput(const QList<Application>& applications) {
    QJsonArray array;
    for (const Application& application : applications) {
        array.append(matchJson(application));
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

}  // namespace

QCoro::Task<int> runMatchCommand(QStringList arguments) {
    QCommandLineParser parser;
    const QCommandLineOption applicationsOption(QStringLiteral("applications"),
                                                QStringLiteral("The folder to match."),
                                                QStringLiteral("DIR"));
    const QCommandLineOption catalogueOption(QStringLiteral("catalogue"),
                                             QStringLiteral("A catalogue file to match against."),
                                             QStringLiteral("FILE"));
    const QCommandLineOption installedOption(
        QStringLiteral("installed"), QStringLiteral("The installed cask tokens, comma-separated."),
        QStringLiteral("TOKEN,..."));
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    parser.addOptions({applicationsOption, catalogueOption, installedOption, jsonOption});
    QTextStream errors(stderr);
    if (!parser.parse(arguments) || !parser.positionalArguments().isEmpty()) {
        const QString problem = parser.positionalArguments().isEmpty()
                                    ? parser.errorText()
                                    : QStringLiteral("Unexpected argument: %1")
                                          .arg(parser.positionalArguments().constFirst());
        errors << errorPrefix << problem << '\n';
        co_return 2;
    }
    if (!parser.isSet(applicationsOption)) {
        errors << errorPrefix << "the option --applications DIR is required\n";
        co_return 2;
    }

    const SystemLayout layout = SystemLayout::production();
    // Bundle paths are absolute with links resolved, and app artifacts must
    // name the folder the same way to meet them.
    const QFileInfo folder(parser.value(applicationsOption));
    const QString root = folder.exists() ? folder.canonicalFilePath() : folder.absoluteFilePath();
    const auto settings = SettingsStore::open(layout.settingsFile);
    Logger logger(LogSink(), *settings, layout.desktopDirectory);
    QList<Application> applications;
    try {
        applications = co_await readApplicationsFolder(root, layout.preferredLanguages, logger);
    } catch (const DirectoryListingError& error) {
        errors << errorPrefix << "cannot read the applications folder " << error.path() << ": "
               << error.reason() << '\n';
        co_return 1;
    }

    QByteArray catalogueBytes;
    QString catalogueSource;
    if (parser.isSet(catalogueOption)) {
        catalogueSource = parser.value(catalogueOption);
        const CatalogueFile file = co_await runOnWorkerPool(
            [catalogueSource] { return readCatalogueFile(catalogueSource); });
        if (!file.failure.isEmpty()) {
            errors << errorPrefix << "cannot read the catalogue " << catalogueSource << ": "
                   << file.failure << '\n';
            co_return 1;
        }
        catalogueBytes = file.bytes;
    } else {
        catalogueSource = layout.catalogueUrl.toString();
        const SystemClock clock;
        AskpassService askpass(logger, layout);
        BrewService brew(logger, askpass, layout, clock);
        try {
            catalogueBytes = co_await brew.fetchCaskCatalogue();
        } catch (const BrewError& error) {
            errors << errorPrefix << "cannot fetch the catalogue: " << error.description() << '\n';
            co_return 1;
        } catch (const NetworkRequestError& error) {
            errors << errorPrefix << "cannot fetch the catalogue: " << error.description() << '\n';
            co_return 1;
        }
    }

    // App artifacts point into the folder being matched, so that a copy of
    // the applications elsewhere matches by path as it would in place.
    const CaskLocations locations{root, layout.homeDirectory};
    Catalogues catalogues;
    try {
        catalogues.current = co_await parsedOnWorkerPool(catalogueBytes, false, root);
        catalogues.withDeprecated = co_await parsedOnWorkerPool(catalogueBytes, true, root);
    } catch (const JSONSyntaxError& error) {
        errors << errorPrefix << "the catalogue " << catalogueSource
               << " is malformed: " << error.description() << '\n';
        co_return 1;
    } catch (const CaskError& error) {
        errors << errorPrefix << "the catalogue " << catalogueSource
               << " is malformed: " << error.description() << '\n';
        co_return 1;
    }

    const QList<Application> results = co_await matchAll(
        applications, catalogues, installedTokens(parser, installedOption), locations, logger);
    QTextStream output(stdout);
    if (parser.isSet(jsonOption)) {
        output << jsonOutput(results);
    } else {
        output << matchTable(results);
    }
    co_return 0;
}

}  // namespace tarnel
