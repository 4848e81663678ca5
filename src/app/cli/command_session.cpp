#include "app/cli/command_session.h"

#include "app/cli/application_choice.h"
#include "app/cli/command_line.h"
#include "core/async/failure_of.h"
#include "core/printable_text.h"

#include <utility>
#include <variant>

namespace tarnel {

CommandSession::CommandSession(QString command, const SystemLayout& layout, LogSink sink)
    : command(std::move(command)), container(layout, std::move(sink)), progressBar(stderr) {}

QCoro::Task<std::optional<DiscoveryOutcome>> CommandSession::findApplications(
    ApplicationSource source) {
    if (source == ApplicationSource::applicationsFolder) {
        std::optional<QList<Application>> applications = co_await readApplications();
        if (!applications) {
            co_return std::nullopt;
        }
        co_return DiscoveryOutcome{std::move(*applications), {}};
    }
    std::exception_ptr failure;
    try {
        if (source == ApplicationSource::discovery) {
            co_return co_await discoverWithoutUpdates();
        }
        co_return co_await container.appCoordinator.performInitialDiscovery(discoveryProgress());
    } catch (...) {
        failure = std::current_exception();
    }
    fail(QStringLiteral("discovery failed: ") + failureDescription(failure));
    co_return std::nullopt;
}

QCoro::Task<std::optional<ChosenApplication>> CommandSession::chooseApplication(
    ApplicationSource source, QString query) {
    std::optional<DiscoveryOutcome> found = co_await findApplications(source);
    if (!found) {
        co_return std::nullopt;
    }
    auto choice = tarnel::chooseApplication(found->applications, query);
    if (const auto* problem = std::get_if<QString>(&choice)) {
        fail(*problem);
        co_return std::nullopt;
    }
    co_return ChosenApplication{std::get<Application>(std::move(choice)), std::move(*found)};
}

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

QCoro::Task<DiscoveryOutcome> CommandSession::discoverWithoutUpdates() {
    // Homebrew must be there and answer before anything is discovered, as
    // at the program's own start.
    co_await container.brewService.executeBrewCommand({QStringLiteral("--version")}, false, false,
                                                      {}, true);
    co_await container.appCoordinator.updateHomebrewQuietly();
    QList<Application> applications =
        co_await container.discoveryService.discoverApplications(discoveryProgress());
    co_return DiscoveryOutcome{std::move(applications), {}};
}

DiscoveryService::ProgressCallback CommandSession::discoveryProgress() {
    return [this](double fraction) -> QCoro::Task<> {
        progressBar.show("Discovering", fraction);
        co_return;
    };
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
    if (const auto failure = co_await failureOf(std::move(step))) {
        fail(*failure);
        co_return false;
    }
    co_return true;
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
