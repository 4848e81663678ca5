#include "app/cli/exclusion_command.h"

#include "app/cli/application_command.h"

namespace tarnel {

QCoro::Task<int> runExclusionCommand(QStringList arguments, SystemLayout layout) {
    const bool isExclusion = arguments.constFirst() == QLatin1String("exclude");
    ApplicationCommand command(arguments.constFirst(), {},
                               isExclusion ? QStringLiteral("Excludes APP from management: it "
                                                            "stays listed, with no cask offered.")
                                           : QStringLiteral("Brings an excluded APP back under "
                                                            "management."));
    if (const auto status =
            co_await command.start(arguments, layout, ApplicationSource::applicationsFolder)) {
        co_return *status;
    }
    CommandSession& session = command.session();
    const Application& application = command.application();
    ExclusionService& exclusionService = session.services().exclusionService;
    if (isExclusion) {
        exclusionService.excludeApplication(application);
        co_return session.succeed(QStringLiteral("Excluded %1\n").arg(application.displayName));
    }
    exclusionService.includeApplication(application);
    co_return session.succeed(QStringLiteral("Included %1\n").arg(application.displayName));
}

}  // namespace tarnel
