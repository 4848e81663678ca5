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

    // The applications folder's bundles as the list shows them, without
    // asking Homebrew or the catalogue: those excluded outright left out,
    // those the user excluded marked. On a failure it says so and gives nothing.
    QCoro::Task<std::optional<QList<Application>>> readApplications();
    // Homebrew's check and its quiet update, then the discovery, with
    // progress. On a failure it says so and gives nothing.
    QCoro::Task<std::optional<QList<Application>>> discoverApplications();
    // The program's first discovery: the same, then the search for updates.
    QCoro::Task<std::optional<DiscoveryOutcome>> discoverApplicationsAndUpdates();
    // The one application that `query` names (see chooseApplication); when
    // there is none, or several, it says so and gives nothing.
    std::optional<Application> chooseApplication(const QList<Application>& applications,
                                                 const QString& query);

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
    QString command;
    DependencyContainer container;
    ProgressBar progressBar;
};

}  // namespace tarnel
