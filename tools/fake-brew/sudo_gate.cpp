#include "sudo_gate.h"

#include <QProcess>

namespace fakebrew {

namespace {

CommandOutcome sudoFailure(const QByteArray& reason) {
    return CommandOutcome::failure(reason +
                                   "\nError: The command run through sudo exited with 1.\n");
}

}  // namespace

std::optional<CommandOutcome> checkSudoPassword(const QString& expectedPassword) {
    const QString askpass = qEnvironmentVariable("SUDO_ASKPASS");
    if (askpass.isEmpty()) {
        return sudoFailure("sudo: no password was provided");
    }
    QProcess helper;
    helper.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    helper.start(askpass, {qEnvironmentVariable("SUDO_PROMPT")});
    if (!helper.waitForFinished(-1) || helper.exitStatus() != QProcess::NormalExit ||
        helper.exitCode() != 0) {
        return sudoFailure("sudo: no password was provided");
    }
    // `sudo` reads the answer up to its first line break.
    const QByteArray answer = helper.readAllStandardOutput();
    const qsizetype lineEnd = answer.indexOf('\n');
    const QByteArray password = lineEnd < 0 ? answer : answer.left(lineEnd);
    if (password.isEmpty()) {
        return sudoFailure("sudo: no password was provided");
    }
    if (password != expectedPassword.toUtf8()) {
        return sudoFailure("Sorry, try again.\nsudo: 1 incorrect password attempt");
    }
    return std::nullopt;
}

}  // namespace fakebrew
