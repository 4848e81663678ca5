#include "app/cli/scan_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_status_table.h"
#include "app/cli/cli_services.h"
#include "app/cli/command_line.h"
#include "app/cli/progress_bar.h"
#include "app/console/command_parser.h"

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
    const QString command = QStringLiteral("scan");
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Print log lines on standard error."));
    CommandParser parser(
        commandName(command),
        QStringLiteral("tarnel-cli [--sandbox DIR] scan [--json] [--verbose]"),
        QStringLiteral("Discovers every application and prints what Tarnel makes of it."),
        {jsonOption, verboseOption});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    CliServices services(layout, parser.isSet(verboseOption) ? standardErrorSink() : LogSink());
    QList<Application> applications;
    std::exception_ptr failure;
    try {
        co_await checkHomebrew(services);
        ProgressBar progressBar(stderr);
        applications = co_await services.discoveryService.discoverApplications(
            [&progressBar](double fraction) -> QCoro::Task<> {
                progressBar.show("Discovering", fraction);
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
    co_return printCommandResult(command, parser.isSet(jsonOption)
                                              ? jsonArrayText(applications, applicationJson)
                                              : applicationStatusTable(applications).toUtf8());
}

}  // namespace tarnel
