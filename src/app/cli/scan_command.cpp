#include "app/cli/scan_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_status_table.h"
#include "app/cli/command_line.h"
#include "app/cli/command_session.h"
#include "app/console/command_parser.h"

namespace tarnel {

QCoro::Task<int> runScanCommand(QStringList arguments, SystemLayout layout) {
    const QString command = QStringLiteral("scan");
    CommandParser parser(
        commandName(command),
        QStringLiteral("tarnel-cli [--sandbox DIR] scan [--json] [--verbose]"),
        QStringLiteral("Discovers every application and prints what Tarnel makes of it."),
        {jsonOption(), verboseOption()});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    CommandSession session(command, layout, logSinkFor(parser));
    std::optional<DiscoveryOutcome> found =
        co_await session.findApplications(ApplicationSource::discovery);
    if (!found) {
        co_return 1;
    }
    const QList<Application> sorted = sortedByDisplayName(std::move(found->applications));
    if (parser.isSet(jsonOption())) {
        co_return session.succeed(jsonArrayText(sorted, applicationJson));
    }
    co_return session.succeed(applicationStatusTable(sorted));
}

}  // namespace tarnel
