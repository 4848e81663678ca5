#include "app/cli/command_session.h"

#include "app/cli/application_choice.h"
#include "app/cli/command_line.h"
#include "core/printable_text.h"

#include <utility>
#include <variant>

namespace tarnel {

namespace {

QString discoveryFailure(std::exception_ptr failure) {
    return QStringLiteral("discovery failed: ") + failureDescription(std::move(failure));
}

}  // namespace

CommandSession::CommandSession(QString command, const SystemLayout& layout, LogSink sink)
    : command(std::move(command)), container(layout, std::move(sink)), progressBar(stderr) {}

QCoro::Task<std::optional<QList<Application>>> CommandSession::readApplications() {
    const SystemLayout& layout = container.layout;
    std::optional<QList<Application>> applications = co_await readApplicationsForCommand(
        layout.applicationsDirectory, layout.preferredLanguages, container.logger, command);
    if (!applications) {
        co_return std::nullopt;
    }
    const ExclusionService& exclusions = container.exclusionService;
    co_return applyExclusions(std::move(*applications), exclusions.hardCodedExclusions(),
                              exclusions.userExclusions());
}

QCoro::Task<std::optional<QList<Application>>> CommandSession::discoverApplications() {
    std::exception_ptr failure;
    try {
        // Homebrew must be there and answer before anything is discovered,
        // as at the program's own start.
        co_await container.brewService.executeBrewCommand({QStringLiteral("--version")}, false,
                                                          false, {}, true);
        co_await container.appCoordinator.updateHomebrewQuietly();
        co_return co_await container.discoveryService.discoverApplications(
            [this](double fraction) -> QCoro::Task<> {
                progressBar.show("Discovering", fraction);
                co_return;
            });
    } catch (...) {
        failure = std::current_exception();
    }
    fail(discoveryFailure(failure));
    co_return std::nullopt;
}

QCoro::Task<std::optional<DiscoveryOutcome>> CommandSession::discoverApplicationsAndUpdates() {
    std::exception_ptr failure;
    try {
        co_return co_await container.appCoordinator.performInitialDiscovery(
            [this](double fraction) -> QCoro::Task<> {
                progressBar.show("Discovering", fraction);
                co_return;
            });
    } catch (...) {
        failure = std::current_exception();
    }
    fail(discoveryFailure(failure));
    co_return std::nullopt;
}

std::optional<Application> CommandSession::chooseApplication(const QList<Application>& applications,
                                                             const QString& query) {
    auto choice = tarnel::chooseApplication(applications, query);
    if (const auto* problem = std::get_if<QString>(&choice)) {
        fail(*problem);
        return std::nullopt;
    }
    return std::get<Application>(std::move(choice));
}

void CommandSession::showProgress(const UpdateState& state) {
    switch (state.kind()) {
        case UpdateState::Kind::initializing:
            progressBar.show("Preparing", 0.0);
            return;
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

ProgressHandler CommandSession::progressHandler() {
    return [this](UpdateState state) -> QCoro::Task<> {
        showProgress(state);
        co_return;
    };
}

QCoro::Task<bool> CommandSession::attempt(QCoro::Task<> step) {
    std::exception_ptr failure;
    try {
        co_await std::move(step);
        co_return true;
    } catch (...) {
        failure = std::current_exception();
    }
    fail(failure);
    co_return false;
}

int CommandSession::fail(const QString& problem, LineBreaks lineBreaks) {
    progressBar.clear();
    reportCommandFailure(command, problem, lineBreaks);
    return 1;
}

int CommandSession::fail(std::exception_ptr failure) {
    return fail(failureDescription(std::move(failure)));
}

int CommandSession::succeed(const QString& result) {
    // Names in a result come from bundles and tools, and must not act on the terminal.
    return succeed(printableText(result, LineBreaks::kept).toUtf8());
}

int CommandSession::succeed(const QByteArray& result) {
    progressBar.clear();
    return printCommandResult(command, result);
}

}  // namespace tarnel
