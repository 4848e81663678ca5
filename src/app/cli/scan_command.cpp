#include "app/cli/scan_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_status_table.h"
#include "app/cli/cli_services.h"
#include "app/cli/command_line.h"
#include "app/cli/progress_bar.h"

#include <QCommandLineParser>
#include <QTextStream>

#include <exception>

namespace tarnel {

namespace {

// Homebrew must be there and answer before anything is discovered, as at the
// program's own start.
QCoro::Task<> checkHomebrew(CliServices& services) {
    if (!services.brewService.isHomebrewAvailable()) {
        throw BrewError::homebrewNotFound();
    }
    co_await services.brewService.executeBrewCommand({QStringLiteral("--version")}, false, false,
                                                     {}, true);
    co_await services.brewService.updateHomebrew();
}

}  // namespace

QCoro::Task<int> runScanCommand(QStringList arguments, SystemLayout layout) {
    QCommandLineParser parser;
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Print log lines on standard error."));
    parser.addOptions({jsonOption, verboseOption});
    const QString command = QStringLiteral("scan");
    if (!parseCommandLine(parser, arguments, command)) {
        co_return 2;
    }

    CliServices services(layout, parser.isSet(verboseOption) ? standardErrorSink() : LogSink());
    QList<Application> applications;
    std::exception_ptr failure;
    try {
        co_await checkHomebrew(services);
        ProgressBar progressBar(stderr);
        applications = co_await services.discoveryService.discoverApplications(
            [&progressBar](double fraction) -> QCoro::Task<> {
                progressBar.show(fraction);
                co_return;
            });
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const std::exception& error) {
            reportCommandFailure(
                command,
                QStringLiteral("discovery failed: %1").arg(QString::fromUtf8(error.what())));
        }
        co_return 1;
    }

    applications = sortedByDisplayName(std::move(applications));
    QTextStream output(stdout);
    if (parser.isSet(jsonOption)) {
        output << jsonArrayText(applications, applicationJson);
    } else {
        output << applicationStatusTable(applications);
    }
    co_return 0;
}

}  // namespace tarnel
