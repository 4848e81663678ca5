#include "app/cli/skip_command.h"

#include "app/cli/application_command.h"
#include "app/cli/pending_updates.h"

namespace tarnel {

namespace {

QString skippedText(const Application& application, const QString& version, UpdateSource source) {
    return QStringLiteral("Skipped %1 %2 from %3\n")
        .arg(application.displayName, version, updateSourceName(source));
}

}  // namespace

QCoro::Task<int> runSkipCommand(QStringList arguments, SystemLayout layout) {
    ApplicationCommand command(QStringLiteral("skip"), {},
                               QStringLiteral("Skips the version of APP's pending update, from "
                                              "Sparkle if it has one, else from Homebrew."));
    if (const auto status =
            co_await command.start(arguments, layout, ApplicationSource::discoveryWithUpdates)) {
        co_return *status;
    }
    CommandSession& session = command.session();
    const Application& application = command.application();

    UpdateService& updateService = session.services().updateService;
    const PendingUpdates pending = pendingUpdatesOf(application, command.found().updates);
    if (const auto& update = pending.sparkleUpdate) {
        updateService.skipSparkleUpdate(update->applicationId, update->availableVersion,
                                        update->bundleIdentifier);
        co_return session.succeed(
            skippedText(application, update->availableVersion, UpdateSource::sparkle));
    }
    if (const auto& update = pending.brewUpdate) {
        updateService.skipBrewUpdate(update->applicationId, update->availableVersion,
                                     update->bundleIdentifier);
        co_return session.succeed(
            skippedText(application, update->availableVersion, UpdateSource::homebrew));
    }
    if (pending.masUpdate) {
        co_return session.fail(
            QStringLiteral("the pending update of %1 comes from the Mac App Store, whose updates "
                           "cannot be skipped")
                .arg(application.displayName));
    }
    co_return session.fail(
        QStringLiteral("no update is pending for %1").arg(application.displayName));
}

}  // namespace tarnel
