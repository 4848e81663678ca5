#include "app/cli/exclusion_command.h"

#include "app/cli/command_line.h"
#include "app/cli/command_session.h"
#include "app/console/command_parser.h"

namespace tarnel {

QCoro::Task<int> runExclusionCommand(QStringList arguments, SystemLayout layout) {
    const QString command = arguments.constFirst();
    const bool isExclusion = command == QLatin1String("exclude");
    CommandParser parser(
        commandName(command),
        QStringLiteral("tarnel-cli [--sandbox DIR] %1 APP [--verbose]").arg(command),
        (isExclusion ? QStringLiteral("Excludes APP from management: it stays listed, with no "
                                      "cask offered.")
                     : QStringLiteral("Brings an excluded APP back under management.")) +
            QStringLiteral(" APP is a display name, file name, bundle identifier or path."),
        {verboseOption()}, {QStringLiteral("APP")});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    CommandSession session(command, layout, logSinkFor(parser));
    const std::optional<QList<Application>> applications = co_await session.readApplications();
    if (!applications) {
        co_return 1;
    }
    const std::optional<Application> application =
        session.chooseApplication(*applications, parser.arguments().constFirst());
    if (!application) {
        co_return 1;
    }
    ExclusionService& exclusionService = session.services().exclusionService;
    if (isExclusion) {
        exclusionService.excludeApplication(*application);
        co_return session.succeed(QStringLiteral("Excluded %1\n").arg(application->displayName));
    }
    exclusionService.includeApplication(*application);
    co_return session.succeed(QStringLiteral("Included %1\n").arg(application->displayName));
}

}  // namespace tarnel
