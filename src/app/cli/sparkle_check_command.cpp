#include "app/cli/sparkle_check_command.h"

#include "app/cli/cli_services.h"
#include "app/cli/command_line.h"
#include "app/cli/sparkle_update_json.h"
#include "app/console/command_parser.h"

#include <exception>

namespace tarnel {

QCoro::Task<int> runSparkleCheckCommand(QStringList arguments, SystemLayout layout) {
    const QString command = QStringLiteral("sparkle-check");
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Print log lines on standard error."));
    CommandParser parser(commandName(command),
                         QStringLiteral("tarnel-cli [--sandbox DIR] sparkle-check APP [--json] "
                                        "[--verbose]"),
                         QStringLiteral("Asks APP's own update feed for a newer version. APP is "
                                        "a display name, file name, bundle identifier or path."),
                         {jsonOption, verboseOption}, {QStringLiteral("APP")});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    CliServices services(layout, parser.isSet(verboseOption) ? standardErrorSink() : LogSink());
    const std::optional<Application> application = co_await chooseApplicationForCommand(
        layout.applicationsDirectory, layout.preferredLanguages, services.logger, command,
        parser.arguments().constFirst());
    if (!application) {
        co_return 1;
    }
    std::optional<SparkleUpdate> update;
    try {
        update = co_await services.sparkleService.checkForUpdate(*application);
    } catch (const std::exception& error) {
        reportCommandFailure(command, QString::fromUtf8(error.what()));
        co_return 1;
    }
    if (parser.isSet(jsonOption)) {
        co_return printCommandResult(command, sparkleUpdateJson(update));
    }
    const QString text = update ? QStringLiteral("%1: %2 -> %3\n")
                                      .arg(application->displayName, update->currentVersion,
                                           update->availableVersion)
                                : QStringLiteral("%1: no update\n").arg(application->displayName);
    co_return printCommandResult(command, text.toUtf8());
}

}  // namespace tarnel
