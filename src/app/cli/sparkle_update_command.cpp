#include "app/cli/sparkle_update_command.h"

#include "app/cli/cli_services.h"
#include "app/cli/command_line.h"
#include "app/cli/progress_bar.h"
#include "app/console/command_parser.h"

#include <exception>

namespace tarnel {

namespace {

// What the progress line shows of a state; nothing for the states without
// a step of their own.
void showProgress(ProgressBar& progressBar, const UpdateState& state) {
    switch (state.kind()) {
        case UpdateState::Kind::downloading:
            progressBar.show("Downloading", state.totalSize() > 0
                                                ? double(state.loadedSize()) / state.totalSize()
                                                : 0.0);
            return;
        case UpdateState::Kind::extracting:
            progressBar.show("Extracting", state.progress());
            return;
        case UpdateState::Kind::installing:
            progressBar.show("Installing", 1.0);
            return;
        default:
            return;
    }
}

}  // namespace

QCoro::Task<int> runSparkleUpdateCommand(QStringList arguments, SystemLayout layout) {
    const QString command = QStringLiteral("sparkle-update");
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Print log lines on standard error."));
    CommandParser parser(
        commandName(command),
        QStringLiteral("tarnel-cli [--sandbox DIR] sparkle-update APP [--verbose]"),
        QStringLiteral("Installs the update of APP's own feed in place. APP is a "
                       "display name, file name, bundle identifier or path."),
        {verboseOption}, {QStringLiteral("APP")});
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
    std::exception_ptr failure;
    {
        ProgressBar progressBar(stderr);
        try {
            co_await services.sparkleService.updateViaSparkle(
                *application, [&progressBar](UpdateState state) -> QCoro::Task<> {
                    showProgress(progressBar, state);
                    co_return;
                });
        } catch (...) {
            failure = std::current_exception();
        }
    }
    if (failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const std::exception& error) {
            reportCommandFailure(command, QString::fromUtf8(error.what()));
        }
        co_return 1;
    }
    co_return printCommandResult(
        command, QStringLiteral("Updated %1\n").arg(application->displayName).toUtf8());
}

}  // namespace tarnel
