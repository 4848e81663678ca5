#include "brew_sandbox.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tarnel;

namespace {

// The script as it must stand where `osascript` shows the dialog.
const QByteArray platformDialogScript =
    "#!/bin/bash\n"
    "\n"
    "# Get password\n"
    "PASSWORD=$(osascript -e 'display dialog \"Homebrew needs administrator privileges to "
    "complete this operation. Please enter your account password:\" default answer \"\" with "
    "title \"Homebrew Requires Sudo\" with icon 2 buttons {\"Cancel\", \"OK\"} default button "
    "\"OK\" with hidden answer' -e 'text returned of result' 2>/dev/null)\n"
    "\n"
    "if [ $? -ne 0 ]; then\n"
    "    exit 1\n"
    "fi\n"
    "\n"
    "# Output password with explicit newline and flush\n"
    "printf \"%s\n"
    "\" \"$PASSWORD\"\n"
    "\n"
    "exit 0";

constexpr QFileDevice::Permissions mode755 =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
    QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::ExeOther;

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QFileDevice::Permissions unixMode(const QString& path) {
    // The user flags mirror the owner's; compare the owner, group and other bits only.
    return QFileInfo(path).permissions() &
           ~(QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser);
}

QString helperPath(const BrewSandbox& sandbox) {
    return sandbox.path(QStringLiteral("tmp/tarnel_askpass.sh"));
}

struct HelperRun {
    int exitCode = -1;
    QByteArray output;
};

HelperRun runHelper(const QString& path) {
    QProcess process;
    process.start(path, {});
    process.waitForFinished(-1);
    return {process.exitCode(), process.readAllStandardOutput()};
}

// Gives the file or folder to the unprivileged user, as another user's would be.
bool giveToNobody(const QString& path) {
    const passwd* nobody = getpwnam("nobody");
    return nobody != nullptr &&
           lchown(QFile::encodeName(path).constData(), nobody->pw_uid, nobody->pw_gid) == 0;
}

bool isOwnRegularFile(const QString& path) {
    struct stat status {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == geteuid();
}

int countOf(const LogCapture& capture, const QString& fragment) {
    int count = 0;
    for (const QString& line : capture.lines()) {
        count += line.contains(fragment) ? 1 : 0;
    }
    return count;
}

}  // namespace

TEST(AskpassService, WritesThePlatformDialogScriptByteForByte) {
    BrewSandbox sandbox;
    sandbox.layout.askpassDialogProgram.clear();
    const std::optional<QString> path = sandbox.askpassService().createAskpassHelper();
    ASSERT_EQ(path, helperPath(sandbox));
    EXPECT_EQ(platformDialogScript.size(), 467);
    EXPECT_EQ(contentsOf(*path), platformDialogScript);
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::info, QStringLiteral("Created simple askpass helper at: ") + *path));
    EXPECT_TRUE(sandbox.capture.contains(LogLevel::info,
                                         QStringLiteral("Askpass helper syntax check passed")));
    EXPECT_TRUE(
        sandbox.capture.contains(LogLevel::info, QStringLiteral("Askpass helper syntax verified")));
}

TEST(AskpassService, MakesTheHelperMode755) {
    BrewSandbox sandbox;
    const std::optional<QString> path = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(path);
    EXPECT_EQ(unixMode(*path), mode755);
}

TEST(AskpassService, DialogProgramStandsInForTheDialogStep) {
    BrewSandbox sandbox;
    const std::optional<QString> path = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(path);
    const QByteArray script = contentsOf(*path);
    EXPECT_FALSE(script.contains("osascript"));
    EXPECT_TRUE(script.startsWith("#!/bin/bash\n\n# Get password\nPASSWORD=$('"));
    EXPECT_TRUE(script.endsWith("printf \"%s\n\" \"$PASSWORD\"\n\nexit 0"));
}

TEST(AskpassService, HelperPrintsTheDialogAnswerWithOneNewline) {
    BrewSandbox sandbox;
    sandbox.setDialogAnswer(QStringLiteral("pass word"));
    const HelperRun run = runHelper(*sandbox.askpassService().ensureAskpassHelper());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, QByteArray("pass word\n"));
}

TEST(AskpassService, HelperExitsOneWhenTheDialogIsCancelled) {
    BrewSandbox sandbox;
    sandbox.setDialogAnswer(QString());
    const HelperRun run = runHelper(*sandbox.askpassService().ensureAskpassHelper());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.output.isEmpty());
}

TEST(AskpassService, DialogProgramGetsTheTitleAndPromptAndSurvivesAnOddPath) {
    BrewSandbox sandbox;
    const QString program = sandbox.path(QStringLiteral("it's a \"dialog\" $HOME.sh"));
    const QString arguments = sandbox.path(QStringLiteral("arguments.txt"));
    writeFile(program, "#!/bin/sh\nprintf '%s|%s' \"$1\" \"$2\" > '" + arguments.toUtf8() +
                           "'\necho typed\n");
    QFile::setPermissions(program, mode755);
    sandbox.layout.askpassDialogProgram = program;
    const HelperRun run = runHelper(*sandbox.askpassService().ensureAskpassHelper());
    EXPECT_EQ(run.output, QByteArray("typed\n"));
    EXPECT_EQ(contentsOf(arguments),
              QByteArray("Homebrew Requires Sudo|Homebrew needs administrator privileges to "
                         "complete this operation. Please enter your account password:"));
}

TEST(AskpassService, RewritesADeletedHelperWithAWarning) {
    BrewSandbox sandbox;
    const std::optional<QString> first = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(first);
    QFile::remove(*first);
    const std::optional<QString> second = sandbox.askpassService().ensureAskpassHelper();
    EXPECT_EQ(second, first);
    EXPECT_TRUE(QFileInfo::exists(*second));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::warning,
        QStringLiteral("Cached askpass helper no longer exists or not executable, recreating")));
}

TEST(AskpassService, RewritesAHelperThatLostItsExecutableBit) {
    BrewSandbox sandbox;
    const std::optional<QString> first = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(first);
    QFile::setPermissions(*first, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const std::optional<QString> second = sandbox.askpassService().ensureAskpassHelper();
    EXPECT_EQ(second, first);
    EXPECT_EQ(unixMode(*second), mode755);
    EXPECT_EQ(countOf(sandbox.capture, QStringLiteral("Cached askpass helper no longer exists")),
              1);
}

TEST(AskpassService, OverwritesAFileAlreadyAtThePathAndMakesIt755) {
    BrewSandbox sandbox;
    writeFile(helperPath(sandbox), "left over");
    QFile::setPermissions(helperPath(sandbox), QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const std::optional<QString> path = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(path);
    EXPECT_TRUE(contentsOf(*path).startsWith("#!/bin/bash\n"));
    EXPECT_EQ(unixMode(*path), mode755);
}

TEST(AskpassService, UnwritableTemporaryDirectoryGivesNoPathAndThrowsNothing) {
    BrewSandbox sandbox;
    // Below a plain file nothing can be written, not even by the superuser.
    writeFile(sandbox.path(QStringLiteral("plain-file")), "x");
    sandbox.layout.temporaryDirectory = sandbox.path(QStringLiteral("plain-file/tmp"));
    std::optional<QString> path;
    EXPECT_NO_THROW(path = sandbox.askpassService().ensureAskpassHelper());
    EXPECT_FALSE(path);
    EXPECT_TRUE(
        sandbox.capture.containsText(QStringLiteral("[ERROR] Failed to create askpass helper: ")));
}

TEST(AskpassService, SecondCallWithTheFileIntactNeitherWritesNorTests) {
    BrewSandbox sandbox;
    const std::optional<QString> first = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(first);
    // A changed text that stays executable shows whether it was written again.
    writeFile(*first, "#!/bin/bash\nexit 0");
    const std::optional<QString> second = sandbox.askpassService().ensureAskpassHelper();
    EXPECT_EQ(second, first);
    EXPECT_EQ(contentsOf(*second), QByteArray("#!/bin/bash\nexit 0"));
    EXPECT_EQ(countOf(sandbox.capture, QStringLiteral("Created simple askpass helper at: ")), 1);
    EXPECT_EQ(countOf(sandbox.capture, QStringLiteral("Askpass helper syntax check passed")), 1);
}

TEST(AskpassService, SyntaxTestRejectsABrokenScript) {
    BrewSandbox sandbox;
    const QString broken = sandbox.path(QStringLiteral("broken.sh"));
    writeFile(broken, "#!/bin/bash\nif [ 1 -eq 1 ]; then\n");
    EXPECT_FALSE(sandbox.askpassService().testAskpassHelperSyntax(broken));
    EXPECT_TRUE(
        sandbox.capture.containsText(QStringLiteral("[ERROR] Askpass helper syntax error: ")));
    EXPECT_TRUE(sandbox.capture.containsText(QStringLiteral("syntax error")));
}

TEST(AskpassService, ReplacesALinkPlantedAtTheHelperPathAndLeavesItsTargetAlone) {
    BrewSandbox sandbox;
    const QString target = sandbox.path(QStringLiteral("precious.txt"));
    writeFile(target, "keep me");
    ASSERT_TRUE(QFile::link(target, helperPath(sandbox)));
    const std::optional<QString> path = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_EQ(path, helperPath(sandbox));
    EXPECT_TRUE(isOwnRegularFile(*path));
    EXPECT_TRUE(contentsOf(*path).startsWith("#!/bin/bash\n"));
    EXPECT_EQ(contentsOf(target), QByteArray("keep me"));
}

TEST(AskpassService, ReplacesAKnownHelperThatBecameALink) {
    BrewSandbox sandbox;
    const std::optional<QString> first = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(first);
    const QString planted = sandbox.path(QStringLiteral("planted.sh"));
    writeFile(planted, "#!/bin/sh\necho stolen\n");
    QFile::setPermissions(planted, mode755);
    ASSERT_TRUE(QFile::remove(*first));
    ASSERT_TRUE(QFile::link(planted, *first));
    const std::optional<QString> second = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_EQ(second, first);
    EXPECT_TRUE(isOwnRegularFile(*second));
    EXPECT_EQ(contentsOf(planted), QByteArray("#!/bin/sh\necho stolen\n"));
    EXPECT_EQ(countOf(sandbox.capture, QStringLiteral("Cached askpass helper no longer exists")),
              1);
}

TEST(AskpassService, ReplacesAKnownHelperOwnedByAnotherUser) {
    BrewSandbox sandbox;
    const std::optional<QString> first = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(first);
    writeFile(*first, "#!/bin/bash\necho planted");
    if (!giveToNobody(*first)) {
        GTEST_SKIP() << "only the superuser can give a file away";
    }
    const std::optional<QString> second = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_EQ(second, first);
    EXPECT_TRUE(isOwnRegularFile(*second));
    EXPECT_FALSE(contentsOf(*second).contains("planted"));
}

TEST(AskpassService, ReplacesAKnownHelperThatIsReadOnly) {
    BrewSandbox sandbox;
    const std::optional<QString> first = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_TRUE(first);
    writeFile(*first, "#!/bin/bash\necho stale");
    const QFileDevice::Permissions readOnly =
        mode755 & ~(QFileDevice::WriteOwner | QFileDevice::WriteUser);
    ASSERT_TRUE(QFile::setPermissions(*first, readOnly));
    const std::optional<QString> second = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_EQ(second, first);
    EXPECT_EQ(unixMode(*second), mode755);
    EXPECT_FALSE(contentsOf(*second).contains("stale"));
}

TEST(AskpassService, MakesAMissingTemporaryFolderForTheUserAlone) {
    BrewSandbox sandbox;
    sandbox.layout.temporaryDirectory = sandbox.path(QStringLiteral("tarnel-private"));
    const std::optional<QString> path = sandbox.askpassService().ensureAskpassHelper();
    ASSERT_EQ(path, sandbox.path(QStringLiteral("tarnel-private/tarnel_askpass.sh")));
    EXPECT_EQ(unixMode(sandbox.layout.temporaryDirectory),
              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

TEST(AskpassService, RefusesATemporaryFolderThatIsALink) {
    BrewSandbox sandbox;
    const QString link = sandbox.path(QStringLiteral("tmp-link"));
    ASSERT_TRUE(QFile::link(sandbox.path(QStringLiteral("tmp")), link));
    sandbox.layout.temporaryDirectory = link;
    EXPECT_FALSE(sandbox.askpassService().ensureAskpassHelper());
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Failed to create askpass helper: %1 is a link, not a folder").arg(link)));
    EXPECT_FALSE(QFileInfo::exists(sandbox.path(QStringLiteral("tmp/tarnel_askpass.sh"))));
}

TEST(AskpassService, RefusesATemporaryFolderOthersMayWriteTo) {
    BrewSandbox sandbox;
    const QString folder = sandbox.path(QStringLiteral("tmp"));
    ASSERT_TRUE(
        QFile::setPermissions(folder, mode755 | QFileDevice::WriteGroup | QFileDevice::WriteOther));
    EXPECT_FALSE(sandbox.askpassService().ensureAskpassHelper());
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Failed to create askpass helper: the folder %1 may be written by other "
                       "users")
            .arg(folder)));
    EXPECT_FALSE(QFileInfo::exists(helperPath(sandbox)));
}

TEST(AskpassService, RefusesATemporaryFolderOfAnotherUser) {
    BrewSandbox sandbox;
    const QString folder = sandbox.path(QStringLiteral("tmp"));
    if (!giveToNobody(folder)) {
        GTEST_SKIP() << "only the superuser can give a folder away";
    }
    EXPECT_FALSE(sandbox.askpassService().ensureAskpassHelper());
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Failed to create askpass helper: the folder %1 belongs to another user")
            .arg(folder)));
}

TEST(AskpassService, ChecksTheTemporaryFolderOnEveryUse) {
    BrewSandbox sandbox;
    ASSERT_TRUE(sandbox.askpassService().ensureAskpassHelper());
    // The folder is swapped for a link to a copy that still holds a good helper.
    const QString folder = sandbox.path(QStringLiteral("tmp"));
    const QString moved = sandbox.path(QStringLiteral("tmp-elsewhere"));
    ASSERT_TRUE(QDir().rename(folder, moved));
    ASSERT_TRUE(QFile::link(moved, folder));
    EXPECT_FALSE(sandbox.askpassService().ensureAskpassHelper());
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Failed to create askpass helper: %1 is a link, not a folder").arg(folder)));
}
