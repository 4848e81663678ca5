#include "app/cli/scan_bundles_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_table.h"
#include "app/cli/command_line.h"
#include "app/cli/command_session.h"
#include "app/console/command_parser.h"

namespace tarnel {

QCoro::Task<int> runScanBundlesCommand(QStringList arguments, SystemLayout layout) {
    const QString command = QStringLiteral("scan-bundles");
    const QCommandLineOption applicationsOption(
        QStringLiteral("applications"),
        QStringLiteral("The folder to scan; by default the applications folder."),
        QStringLiteral("DIR"));
    CommandParser parser(
        commandName(command),
        QStringLiteral("tarnel-cli [--sandbox DIR] scan-bundles [--applications DIR] [--json] "
                       "[--verbose]"),
        QStringLiteral("Lists the application bundles and what each declares."),
        {applicationsOption, jsonOption(), verboseOption()});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    const QString root = parser.isSet(applicationsOption) ? parser.value(applicationsOption)
                                                          : layout.applicationsDirectory;
    CommandSession session(command, layout, logSinkFor(parser));
    const std::optional<QList<Application>> applications = co_await readApplicationsForCommand(
        root, layout.preferredLanguages, session.services().logger, command);
    if (!applications) {
        co_return 1;
    }
    co_return session.succeed(parser.isSet(jsonOption())
                                  ? jsonArrayText(*applications, bundleJson)
                                  : applicationTable(*applications).toUtf8());
}

}  // namespace tarnel
