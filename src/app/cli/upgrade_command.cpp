#include "app/cli/upgrade_command.h"

#include "app/cli/command_line.h"
#include "app/cli/command_session.h"
#include "app/cli/pending_updates.h"
#include "app/console/command_parser.h"

namespace tarnel {

namespace {

// Awaits the installation of `update` and prints what it did.
template <typename Update>
QCoro::Task<int> install(CommandSession& session, QCoro::Task<> installation,
                         Application application, Update update, UpdateSource source) {
    if (!co_await session.attempt(std::move(installation))) {
        co_return 1;
    }
    co_return session.succeed(QStringLiteral("Updated %1 from %2 to %3 via %4\n")
                                  .arg(application.displayName, update.currentVersion,
                                       update.availableVersion, updateSourceName(source)));
}

}  // namespace

QCoro::Task<int> runUpgradeCommand(QStringList arguments, SystemLayout layout) {
    const QString command = QStringLiteral("upgrade");
    CommandParser parser(
        commandName(command), QStringLiteral("tarnel-cli [--sandbox DIR] upgrade APP [--verbose]"),
        QStringLiteral("Installs one pending update of APP: from Sparkle if it has one, else from "
                       "Homebrew, else from the Mac App Store. APP is a display name, file name, "
                       "bundle identifier or path."),
        {verboseOption()}, {QStringLiteral("APP")});
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }

    CommandSession session(command, layout, logSinkFor(parser));
    const std::optional<DiscoveryOutcome> outcome =
        co_await session.discoverApplicationsAndUpdates();
    if (!outcome) {
        co_return 1;
    }
    const std::optional<Application> application =
        session.chooseApplication(outcome->applications, parser.arguments().constFirst());
    if (!application) {
        co_return 1;
    }

    // One source per run, in the order of the detail pane's update button;
    // an application with updates from two sources takes two runs.
    UpdateService& updateService = session.services().updateService;
    const PendingUpdates pending = pendingUpdatesOf(*application, outcome->updates);
    if (const auto& update = pending.sparkleUpdate) {
        co_return co_await install(
            session, updateService.updateViaSparkle(*application, session.progressHandler()),
            *application, *update, UpdateSource::sparkle);
    }
    if (const auto& update = pending.brewUpdate) {
        // A Homebrew upgrade reports no steps of its own: it is installing
        // until it ends.
        session.showProgress(UpdateState::installing());
        const bool hasAdminPermission = session.services().appState.hasAdminPasswordPermission();
        co_return co_await install(session,
                                   updateService.updateViaBrew(*update, hasAdminPermission),
                                   *application, *update, UpdateSource::homebrew);
    }
    if (const auto& update = pending.masUpdate) {
        co_return co_await install(session,
                                   updateService.updateViaMAS(*update, session.progressHandler()),
                                   *application, *update, UpdateSource::macAppStore);
    }
    co_return session.succeed(
        QStringLiteral("No update is pending for %1\n").arg(application->displayName));
}

}  // namespace tarnel
