#pragma once

#include "core/records/update_state.h"
#include "homebrew/brew_process_result.h"

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

namespace tarnel {

class AskpassService;
class Logger;

// One run of `brew`: the environment, the launch in the home folder, both
// output streams kept apart and drained while the process runs, and the
// diagnostics of a failed run. It decides nothing about retries.
class BrewProcessRunner {
public:
    BrewProcessRunner(Logger& logger, AskpassService& askpassService, QString workingDirectory);

    // Throws `BrewError` when the askpass helper cannot be had, and
    // `ProcessLaunchError` when the process does not start. Once started, the
    // process always runs to its end, whatever happens to the awaiting task.
    QCoro::Task<BrewProcessResult> run(QString path, QStringList arguments, bool requiresAdmin,
                                       ProgressHandler progressHandler, bool hasAdminPermission);

private:
    void addAskpassEnvironment(QProcessEnvironment& environment);

    Logger& logger;
    AskpassService& askpassService;
    QString workingDirectory;
};

}  // namespace tarnel
