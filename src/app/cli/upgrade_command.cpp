#include "app/cli/upgrade_command.h"

#include "app/cli/application_command.h"
#include "app/cli/pending_updates.h"
#include "app/cli/permission_required.h"

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
    ApplicationCommand command(
        QStringLiteral("upgrade"), {},
        QStringLiteral("Installs one pending update of APP: from Sparkle if it has one, else from "
                       "Homebrew, else from the Mac App Store."));
    if (const auto status =
            co_await command.start(arguments, layout, ApplicationSource::discoveryWithUpdates)) {
        co_return *status;
    }
    CommandSession& session = command.session();
    const Application& application = command.application();

    // One source per run, in the order of the detail pane's update button;
    // an application with updates from two sources takes two runs.
    UpdateService& updateService = session.services().updateService;
    const PendingUpdates pending = pendingUpdatesOf(application, command.found().updates);
    if (const auto& update = pending.sparkleUpdate) {
        co_return co_await install(
            session, updateService.updateViaSparkle(application, session.progressHandler()),
            application, *update, UpdateSource::sparkle);
    }
    if (const auto& update = pending.brewUpdate) {
        // As on the detail pane: a cask with an installer of its own is
        // upgraded only with the administrator password allowed.
        const bool hasAdminPermission = session.services().appState.hasAdminPasswordPermission();
        if (application.adoptedCask && application.adoptedCask->manualInstaller &&
            !hasAdminPermission) {
            co_return session.fail(permissionRequiredText(*application.adoptedCask),
                                   LineBreaks::kept);
        }
        // A Homebrew upgrade reports no steps of its own: it is installing
        // until it ends.
        session.showProgress(UpdateState::installing());
        co_return co_await install(session,
                                   updateService.updateViaBrew(*update, hasAdminPermission),
                                   application, *update, UpdateSource::homebrew);
    }
    if (const auto& update = pending.masUpdate) {
        co_return co_await install(session,
                                   updateService.updateViaMAS(*update, session.progressHandler()),
                                   application, *update, UpdateSource::macAppStore);
    }
    co_return session.succeed(
        QStringLiteral("No update is pending for %1\n").arg(application.displayName));
}

}  // namespace tarnel
