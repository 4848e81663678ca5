#include "app/cli/scan_bundles_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_table.h"
#include "app/cli/cli_services.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_layout.h"
#include "discovery/applications_folder_reader.h"
#include "discovery/directory_listing_error.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

#include <cstdio>

namespace tarnel {

namespace {

QByteArray jsonOutput(const QList<Application>& applications) {
    QJsonArray array;
    for (const Application& application : applications) {
        array.append(bundleJson(application));
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

}  // namespace

QCoro::Task<int> runScanBundlesCommand(QStringList arguments, SystemLayout layout) {
    QCommandLineParser parser;
    const QCommandLineOption applicationsOption(QStringLiteral("applications"),
                                                QStringLiteral("The folder to scan."),
                                                QStringLiteral("DIR"));
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Print log lines on standard error."));
    parser.addOptions({applicationsOption, jsonOption, verboseOption});
    QTextStream errors(stderr);
    if (!parser.parse(arguments) || !parser.positionalArguments().isEmpty()) {
        const QString problem = parser.positionalArguments().isEmpty()
                                    ? parser.errorText()
                                    : QStringLiteral("Unexpected argument: %1")
                                          .arg(parser.positionalArguments().constFirst());
        errors << "tarnel-cli scan-bundles: " << problem << '\n';
        co_return 2;
    }

    const QString root = parser.isSet(applicationsOption) ? parser.value(applicationsOption)
                                                          : layout.applicationsDirectory;
    const auto settings = SettingsStore::open(layout.settingsFile);
    Logger logger(parser.isSet(verboseOption) ? standardErrorSink() : LogSink(), *settings,
                  layout.desktopDirectory);
    QList<Application> applications;
    try {
        applications = co_await readApplicationsFolder(root, layout.preferredLanguages, logger);
    } catch (const DirectoryListingError& error) {
        errors << "tarnel-cli scan-bundles: cannot read the applications folder " << error.path()
               << ": " << error.reason() << '\n';
        co_return 1;
    }

    QTextStream output(stdout);
    if (parser.isSet(jsonOption)) {
        output << jsonOutput(applications);
    } else {
        output << applicationTable(applications);
    }
    co_return 0;
}

}  // namespace tarnel
