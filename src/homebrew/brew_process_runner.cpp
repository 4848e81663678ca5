#include "homebrew/brew_process_runner.h"

#include "core/async/continuation.h"
#include "core/logger.h"
#include "core/process_launch_error.h"
#include "core/strict_utf8.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_error.h"

#include <QProcess>

#include <qcoro/qcoroprocess.h>

namespace tarnel {

namespace {

const QString sudoAskpassVariable = QStringLiteral("SUDO_ASKPASS");
const QString brewAskpassVariable = QStringLiteral("HOMEBREW_SUDO_ASKPASS");
const QString nil = QStringLiteral("nil");

QString boolText(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString valueOrNil(const QProcessEnvironment& environment, const QString& name) {
    return environment.value(name, nil);
}

// The arguments as a bracketed list of quoted texts: ["install", "--cask"].
QString quotedList(const QStringList& arguments) {
    QStringList quoted;
    quoted.reserve(arguments.size());
    for (QString argument : arguments) {
        argument.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\""));
        quoted.append(u'"' + argument + u'"');
    }
    return u'[' + quoted.join(QStringLiteral(", ")) + u']';
}

}  // namespace

BrewProcessRunner::BrewProcessRunner(Logger& logger, AskpassService& askpassService,
                                     QString workingDirectory)
    : logger(logger),
      askpassService(askpassService),
      workingDirectory(std::move(workingDirectory)) {}

void BrewProcessRunner::addAskpassEnvironment(QProcessEnvironment& environment) {
    const std::optional<QString> helper = askpassService.ensureAskpassHelper();
    if (!helper) {
        logger.error(
            QStringLiteral("Failed to create askpass helper - admin operations will fail"));
        const QString message = QStringLiteral("Cannot create askpass helper");
        throw BrewError::commandFailed(message, message);
    }
    if (!AskpassService::isExecutableFile(*helper)) {
        logger.error(QStringLiteral("Askpass helper is not executable or missing at: ") + *helper);
        const QString message = QStringLiteral("Askpass helper setup failed");
        throw BrewError::commandFailed(message, message);
    }
    environment.insert(sudoAskpassVariable, *helper);
    environment.insert(QStringLiteral("SSH_ASKPASS"), *helper);
    environment.insert(QStringLiteral("SSH_ASKPASS_REQUIRE"), QStringLiteral("force"));
    environment.insert(brewAskpassVariable, QStringLiteral("1"));
    environment.insert(QStringLiteral("SUDO_PROMPT"), QString());
    environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
    logger.info(QStringLiteral("Using askpass helper: ") + *helper);
    logger.info(QStringLiteral("SUDO_ASKPASS environment variable set to: ") + *helper);
    logger.info(
        QStringLiteral("Environment variables set: HOMEBREW_SUDO_ASKPASS=%1, SUDO_ASKPASS=%2")
            .arg(valueOrNil(environment, brewAskpassVariable),
                 valueOrNil(environment, sudoAskpassVariable)));
}

QCoro::Task<BrewProcessResult> BrewProcessRunner::run(QString path, QStringList arguments,
                                                      bool requiresAdmin,
                                                      ProgressHandler progressHandler,
                                                      bool hasAdminPermission) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOMEBREW_NO_AUTO_UPDATE"), QStringLiteral("1"));
    environment.insert(QStringLiteral("HOMEBREW_NO_ENV_HINTS"), QStringLiteral("1"));
    if (requiresAdmin && hasAdminPermission) {
        addAskpassEnvironment(environment);
    }

    // The process is owned by this frame, which lives until the process ends:
    // nothing here ever stops a launched `brew`.
    QProcess process;
    process.setProgram(path);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDirectory);
    process.setProcessEnvironment(environment);
    // Both channels are read by the event loop as data arrives and kept apart.
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setStandardInputFile(QProcess::nullDevice());

    logger.info(QStringLiteral("Starting brew process with arguments: ") + quotedList(arguments));
    logger.info(QStringLiteral("Admin required: %1, Has permission: %2")
                    .arg(boolText(requiresAdmin), boolText(hasAdminPermission)));

    process.start(QIODevice::ReadOnly);
    // A failure to start is reported by the event loop, after `start` returns.
    if (process.state() == QProcess::Starting) {
        co_await suspendUntilResumed<void>([&process](ContinuationResumer<void> resumer) {
            QObject::connect(&process, &QProcess::stateChanged, &process,
                             [resumer](QProcess::ProcessState state) {
                                 if (state != QProcess::Starting) {
                                     resumer.resume();
                                 }
                             });
        });
    }
    if (process.error() == QProcess::FailedToStart) {
        throw ProcessLaunchError(path, process.errorString());
    }
    if (progressHandler) {
        co_await progressHandler(UpdateState::installing());
    }
    if (process.state() != QProcess::NotRunning) {
        co_await qCoro(process).waitForFinished(-1);
    }

    BrewProcessResult result;
    result.exitStatus = process.exitCode();
    result.standardOutput = decodeStrictUtf8(process.readAllStandardOutput()).trimmed();
    result.standardError = decodeStrictUtf8(process.readAllStandardError()).trimmed();

    logger.info(
        QStringLiteral("Brew process completed with exit status: %1").arg(result.exitStatus));
    if (result.exitStatus != 0) {
        logger.error(QStringLiteral("Brew command failed with status %1").arg(result.exitStatus));
        if (!result.standardError.isEmpty()) {
            logger.error(QStringLiteral("Brew stderr: ") + result.standardError);
        }
        if (!result.standardOutput.isEmpty()) {
            logger.error(QStringLiteral("Brew stdout: ") + result.standardOutput);
        }
        const QString sudoRefusal = QStringLiteral("sudo: no password was provided");
        if (result.standardOutput.contains(sudoRefusal) ||
            result.standardError.contains(sudoRefusal)) {
            logger.error(QStringLiteral(
                "SUDO_ASKPASS was not used by sudo. Environment may not have propagated "
                "correctly."));
            logger.error(QStringLiteral("Expected askpass path: ") +
                         valueOrNil(environment, sudoAskpassVariable));
        }
    }
    co_return result;
}

}  // namespace tarnel
