#include "app/cli/skip_command.h"

#include "app/cli/command_line.h"
#include "app/cli/command_session.h"
#include "app/cli/pending_updates.h"
#include "app/console/command_parser.h"

namespace tarnel {

namespace {

QString skippedText(const Application& application, const QString& version, UpdateSource source) {
    return QStringLiteral("Skipped %1 %2 from %3\n")
        .arg(application.displayName, version, updateSourceName(source));
}

}  // namespace

QCoro::Task<int> runSkipCommand(QStringList arguments, SystemLayout layout) {
    const QString command = QStringLiteral("skip");
    CommandParser parser(
        commandName(command), QStringLiteral("tarnel-cli [--sandbox DIR] skip APP [--verbose]"),
        QStringLiteral("Skips the version of APP's pending update, from Sparkle if it has one, "
                       "else from Homebrew. APP is a display name, file name, bundle identifier "
                       "or path."),
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

    UpdateService& updateService = session.services().updateService;
    const PendingUpdates pending = pendingUpdatesOf(*application, outcome->updates);
    if (const auto& update = pending.sparkleUpdate) {
        updateService.skipSparkleUpdate(update->applicationId, update->availableVersion,
                                        update->bundleIdentifier);
        co_return session.succeed(
            skippedText(*application, update->availableVersion, UpdateSource::sparkle));
    }
    if (const auto& update = pending.brewUpdate) {
        updateService.skipBrewUpdate(update->applicationId, update->availableVersion,
                                     update->bundleIdentifier);
        co_return session.succeed(
            skippedText(*application, update->availableVersion, UpdateSource::homebrew));
    }
    if (pending.masUpdate) {
        co_return session.fail(
            QStringLiteral("the pending update of %1 comes from the Mac App Store, whose updates "
                           "cannot be skipped")
                .arg(application->displayName));
    }
    co_return session.fail(
        QStringLiteral("no update is pending for %1").arg(application->displayName));
}

}  // namespace tarnel
