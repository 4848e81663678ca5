// A stand-in for `brew` over a state folder; README.md tells its format.

#include "brew_state.h"
#include "cask_commands.h"
#include "command_behaviour.h"
#include "command_outcome.h"
#include "sudo_gate.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QThread>

#include <unistd.h>

#include <cerrno>

using namespace fakebrew;

namespace {

// The variables through which the caller steers `brew` and `sudo`.
const QStringList recordedVariables{
    QStringLiteral("HOMEBREW_NO_AUTO_UPDATE"),
    QStringLiteral("HOMEBREW_NO_ENV_HINTS"),
    QStringLiteral("SUDO_ASKPASS"),
    QStringLiteral("SSH_ASKPASS"),
    QStringLiteral("SSH_ASKPASS_REQUIRE"),
    QStringLiteral("HOMEBREW_SUDO_ASKPASS"),
    QStringLiteral("SUDO_PROMPT"),
    QStringLiteral("DISPLAY"),
};

void writeAll(int descriptor, const QByteArray& bytes) {
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(descriptor, bytes.constData() + written,
                                      static_cast<size_t>(bytes.size() - written));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return;
        }
        written += count;
    }
}

// Alternates between the streams in small chunks, so that a caller that
// drains only one of them blocks this process for good.
void writeBulk(int megabytes) {
    const QByteArray chunk = (QByteArray(1023, 'x') + '\n').repeated(64);
    for (int index = 0; index < megabytes * 16; ++index) {
        writeAll(STDOUT_FILENO, chunk);
        writeAll(STDERR_FILENO, chunk);
    }
}

// Lets a test act while the command is known to be running: the marker says
// that it waits, the release file ends the wait.
void waitForRelease(const QString& releaseFile) {
    QFile marker(releaseFile + QStringLiteral(".waiting"));
    if (!marker.open(QIODevice::WriteOnly)) {
        writeAll(STDERR_FILENO,
                 "fake-brew: cannot announce the wait at " + marker.fileName().toUtf8() + '\n');
    }
    marker.close();
    while (!QFileInfo::exists(releaseFile)) {
        QThread::msleep(5);
    }
}

CommandOutcome perform(BrewState& state, const QStringList& arguments) {
    const CommandBehaviour behaviour = state.takeBehaviour(arguments.value(0));
    if (!behaviour.heldUntil.isEmpty()) {
        waitForRelease(behaviour.heldUntil);
    }
    if (behaviour.delayMilliseconds > 0) {
        QThread::msleep(static_cast<unsigned long>(behaviour.delayMilliseconds));
    }
    writeBulk(behaviour.outputMegabytes);
    if (behaviour.password) {
        if (std::optional<CommandOutcome> refusal = checkSudoPassword(*behaviour.password)) {
            return *refusal;
        }
    }
    if (behaviour.exitStatus) {
        return {*behaviour.exitStatus, behaviour.standardOutput, behaviour.standardError};
    }
    return CaskCommands(state).run(arguments);
}

QJsonObject invocationRecord(const QStringList& arguments, qint64 startedAt, int exitStatus) {
    QJsonObject environment;
    for (const QString& name : recordedVariables) {
        environment.insert(name, qEnvironmentVariableIsSet(name.toUtf8().constData())
                                     ? QJsonValue(qEnvironmentVariable(name.toUtf8().constData()))
                                     : QJsonValue(QJsonValue::Null));
    }
    return {
        {QStringLiteral("arguments"), QJsonArray::fromStringList(arguments)},
        {QStringLiteral("workingDirectory"), QDir::currentPath()},
        {QStringLiteral("environment"), environment},
        {QStringLiteral("startedAt"), startedAt},
        {QStringLiteral("endedAt"), QDateTime::currentMSecsSinceEpoch()},
        {QStringLiteral("exitStatus"), exitStatus},
        {QStringLiteral("processId"), static_cast<qint64>(QCoreApplication::applicationPid())},
    };
}

}  // namespace

int main(int argc, char** argv) {
    const qint64 startedAt = QDateTime::currentMSecsSinceEpoch();
    const QString calledAs = QString::fromLocal8Bit(argv[0]);
    QStringList arguments;
    for (int index = 1; index < argc; ++index) {
        arguments.append(QString::fromLocal8Bit(argv[index]));
    }
    QCoreApplication application(argc, argv);

    const std::optional<QString> folder = BrewState::locateFolder(calledAs);
    if (!folder) {
        writeAll(STDERR_FILENO,
                 "fake-brew: no state folder: set TARNEL_FAKE_BREW_STATE or place "
                 "<name>.state beside the program\n");
        return 1;
    }
    BrewState state(*folder);
    const CommandOutcome outcome = perform(state, arguments);
    writeAll(STDOUT_FILENO, outcome.standardOutput);
    writeAll(STDERR_FILENO, outcome.standardError);
    state.appendInvocation(invocationRecord(arguments, startedAt, outcome.exitStatus));
    return outcome.exitStatus;
}
