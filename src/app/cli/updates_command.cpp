#include "app/cli/updates_command.h"

#include "app/cli/command_line.h"
#include "app/cli/command_session.h"
#include "app/cli/update_lists_json.h"
#include "app/cli/update_table.h"
#include "app/console/command_parser.h"

namespace tarnel {

QCoro::Task<int> runUpdatesCommand(QStringList arguments, SystemLayout layout) {
    const QString command = QStringLiteral("updates");
    CommandParser parser(commandName(command),
                         QStringLiteral("tarnel-cli [--sandbox DIR] updates [--json] [--verbose]"),
                         QStringLiteral("Discovers every application and prints the updates "
                                        "pending from Homebrew, Sparkle and the Mac App Store."),
                         {jsonOption(), verboseOption()});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    CommandSession session(command, layout, logSinkFor(parser));
    const std::optional<DiscoveryOutcome> outcome =
        co_await session.findApplications(ApplicationSource::discoveryWithUpdates);
    if (!outcome) {
        co_return 1;
    }
    if (parser.isSet(jsonOption())) {
        co_return session.succeed(updateListsJson(outcome->updates));
    }
    co_return session.succeed(updateTable(outcome->updates, outcome->applications));
}

}  // namespace tarnel
