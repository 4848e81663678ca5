#pragma once

#include "app/cli/progress_bar.h"
#include "core/logger.h"
#include "core/printable_text.h"
#include "core/records/application.h"
#include "core/records/update_state.h"
#include "core/system_layout.h"
#include "discovery/discovery_outcome.h"
#include "shell/dependency_container.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <exception>
#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

// Where the applications of a command come from.
enum class ApplicationSource {
    // The applications folder's bundles as the list shows them, without
    // asking Homebrew or the catalogue: those excluded outright left out,
    // those the user excluded marked.
    applicationsFolder,
    // Homebrew's check and its quiet update, then the discovery.
    discovery,
    // The program's first discovery: the same, then the search for updates.
    discoveryWithUpdates,
};

// The application that a command was named, among all that were found.
struct ChosenApplication {
    Application application;
    // The updates are empty unless they were searched for.
    DiscoveryOutcome found;
};

// One run of a command that works on the machine: every service built once
// through the container, a progress bar on standard error (drawn only on a
// terminal), and one way to report a failure or print the result, each of
// which first takes the bar away.
class CommandSession {
public:
    CommandSession(QString command, const SystemLayout& layout, LogSink sink);
    CommandSession(const CommandSession&) = delete;
    CommandSession& operator=(const CommandSession&) = delete;

    DependencyContainer& services() { return container; }

    // The applications, with progress on the way; on a failure it says so
    // and gives nothing.
    QCoro::Task<std::optional<DiscoveryOutcome>> findApplications(ApplicationSource source);
    // The one application that `query` names among those found (see
    // chooseApplication); when there is none, or several, it says so and
    // gives nothing.
    QCoro::Task<std::optional<ChosenApplication>> chooseApplication(ApplicationSource source,
                                                                    QString query);

    // Draws the state of an update or an adoption; states without a step of
    // their own leave the bar as it is.
    void showProgress(const UpdateState& state);
    ProgressHandler progressHandler();

    // Awaits `step`; when it throws, reports the error's description and
    // gives false.
    QCoro::Task<bool> attempt(QCoro::Task<> step);

    // Reports `problem` and gives the failing exit status, 1.
    int fail(const QString& problem, LineBreaks lineBreaks = LineBreaks::escaped);
    // Reports the description of the error that `failure` holds; gives 1.
    int fail(std::exception_ptr failure);
    // Prints the result and gives the exit status. A text is shown escaped
    // but for its line breaks (see printableText).
    int succeed(const QString& result);
    int succeed(const QByteArray& result);

private:
    QCoro::Task<std::optional<QList<Application>>> readApplications();
    QCoro::Task<DiscoveryOutcome> discoverWithoutUpdates();
    DiscoveryService::ProgressCallback discoveryProgress();

    QString command;
    DependencyContainer container;
    ProgressBar progressBar;
};

}  // namespace tarnel
