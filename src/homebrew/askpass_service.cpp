#include "homebrew/askpass_service.h"

#include "core/logger.h"
#include "core/strict_utf8.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace tarnel {

namespace {

const QString helperFileName = QStringLiteral("tarnel_askpass.sh");

const QString dialogPrompt = QStringLiteral(
    "Homebrew needs administrator privileges to complete this operation. Please enter your "
    "account password:");
const QString dialogTitle = QStringLiteral("Homebrew Requires Sudo");

QString shellQuoted(const QString& text) {
    QString quoted = text;
    quoted.replace(u'\'', QStringLiteral("'\\''"));
    return u'\'' + quoted + u'\'';
}

// The command whose output is the password: the platform's dialog script, or
// the dialog program, given the same title and prompt, where there is none.
QString dialogCommand(const QString& dialogProgram) {
    if (!dialogProgram.isEmpty()) {
        return QStringList{shellQuoted(dialogProgram), shellQuoted(dialogTitle),
                           shellQuoted(dialogPrompt)}
            .join(u' ');
    }
    return QStringLiteral(
               "osascript -e 'display dialog \"%1\" default answer \"\" with title \"%2\" with "
               "icon 2 buttons {\"Cancel\", \"OK\"} default button \"OK\" with hidden answer' "
               "-e 'text returned of result'")
        .arg(dialogPrompt, dialogTitle);
}

QString helperScript(const QString& dialogProgram) {
    // The printf format holds a real line break, so that the password leaves
    // with exactly one newline behind it.
    return QStringLiteral(
               "#!/bin/bash\n"
               "\n"
               "# Get password\n"
               "PASSWORD=$(%1 2>/dev/null)\n"
               "\n"
               "if [ $? -ne 0 ]; then\n"
               "    exit 1\n"
               "fi\n"
               "\n"
               "# Output password with explicit newline and flush\n"
               "printf \"%s\n"
               "\" \"$PASSWORD\"\n"
               "\n"
               "exit 0")
        .arg(dialogCommand(dialogProgram));
}

constexpr mode_t helperMode = 0755;

}  // namespace

AskpassService::AskpassService(Logger& logger, const SystemLayout& layout)
    : logger(logger),
      folder(layout.temporaryDirectory),
      helperPath(QDir(layout.temporaryDirectory).filePath(helperFileName)),
      scriptText(helperScript(layout.askpassDialogProgram)) {}

bool AskpassService::isExecutableFile(const QString& path) {
    const QFileInfo info(path);
    return info.exists() && info.isFile() && info.isExecutable();
}

std::optional<QString> AskpassService::ensureAskpassHelper() {
    if (askpassHelperPath) {
        // Checked on every use: a helper that another user could have placed
        // or changed would receive the password.
        if (folder.holdsOwnFile(helperFileName, helperMode)) {
            return askpassHelperPath;
        }
        logger.warning(
            QStringLiteral("Cached askpass helper no longer exists or not executable, recreating"));
        askpassHelperPath.reset();
    }
    askpassHelperPath = createAskpassHelper();
    return askpassHelperPath;
}

std::optional<QString> AskpassService::createAskpassHelper() {
    if (const std::optional<QString> failure =
            folder.replaceFile(helperFileName, scriptText.toUtf8(), helperMode)) {
        logger.error(QStringLiteral("Failed to create askpass helper: ") + *failure);
        return std::nullopt;
    }
    logger.info(QStringLiteral("Created simple askpass helper at: ") + helperPath);
    if (!testAskpassHelperSyntax(helperPath)) {
        logger.error(QStringLiteral("Askpass helper failed syntax check"));
        return std::nullopt;
    }
    logger.info(QStringLiteral("Askpass helper syntax verified"));
    return helperPath;
}

bool AskpassService::testAskpassHelperSyntax(const QString& path) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("/bin/bash"), {QStringLiteral("-n"), path});
    if (!process.waitForStarted(-1)) {
        logger.error(QStringLiteral("Failed to test askpass helper syntax: ") +
                     process.errorString());
        return false;
    }
    process.waitForFinished(-1);
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        logger.info(QStringLiteral("Askpass helper syntax check passed"));
        return true;
    }
    logger.error(QStringLiteral("Askpass helper syntax error: ") +
                 decodeStrictUtf8(process.readAll()));
    return false;
}

}  // namespace tarnel
