#include "brew_sandbox.h"

#include "core/async/task_handle.h"
#include "core/process_launch_error.h"
#include "homebrew/brew_error.h"
#include "support/await.h"
#include "support/scoped_variable.h"
#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

const QStringList versionCommand{QStringLiteral("--version")};
const QStringList outdatedCommand{QStringLiteral("outdated"), QStringLiteral("--cask"),
                                  QStringLiteral("--greedy"), QStringLiteral("--json")};
// The one-cask question, which ends with status 1 when the cask is outdated.
const QStringList oneCaskOutdatedCommand{QStringLiteral("outdated"), QStringLiteral("--cask"),
                                         QStringLiteral("firefox")};
const QStringList askpassVariables{
    QStringLiteral("SUDO_ASKPASS"),        QStringLiteral("SSH_ASKPASS"),
    QStringLiteral("SSH_ASKPASS_REQUIRE"), QStringLiteral("HOMEBREW_SUDO_ASKPASS"),
    QStringLiteral("SUDO_PROMPT"),         QStringLiteral("DISPLAY"),
};

QStringList installCommand(const QString& token) {
    return {QStringLiteral("install"), QStringLiteral("--cask"), QStringLiteral("--adopt"), token,
            QStringLiteral("--no-quarantine")};
}

FakeBrewBehaviour failing(int status, QByteArray output = {}, QByteArray error = {}) {
    FakeBrewBehaviour behaviour;
    behaviour.exitStatus = status;
    behaviour.standardOutput = std::move(output);
    behaviour.standardError = std::move(error);
    return behaviour;
}

FakeBrewBehaviour needingPassword(const QString& password) {
    FakeBrewBehaviour behaviour;
    behaviour.password = password;
    return behaviour;
}

FakeBrewBehaviour slow(int milliseconds) {
    FakeBrewBehaviour behaviour;
    behaviour.delayMilliseconds = milliseconds;
    return behaviour;
}

struct Command {
    QStringList arguments{};
    bool requiresAdmin = false;
    bool toleratesOutdatedExit = false;
    ProgressHandler progressHandler{};
    bool hasAdminPermission = false;
};

QCoro::Task<QString> start(BrewSandbox& sandbox, Command command) {
    return sandbox.brewService().executeBrewCommand(
        command.arguments, command.requiresAdmin, command.toleratesOutdatedExit,
        command.progressHandler, command.hasAdminPermission);
}

QString run(BrewSandbox& sandbox, Command command) {
    return await(start(sandbox, command));
}

BrewError failureOf(BrewSandbox& sandbox, Command command) {
    try {
        run(sandbox, std::move(command));
    } catch (const BrewError& error) {
        return error;
    }
    ADD_FAILURE() << "the command did not fail with a BrewError";
    return BrewError::apiRequestFailed();
}

// Records every state a command reports.
struct ProgressRecorder {
    std::shared_ptr<QList<UpdateState>> states = std::make_shared<QList<UpdateState>>();

    ProgressHandler handler() const {
        return [states = states](UpdateState state) -> QCoro::Task<> {
            states->append(state);
            co_return;
        };
    }
};

bool hasAnyAskpassVariable(const FakeBrewInvocation& invocation) {
    for (const QString& name : askpassVariables) {
        if (invocation.environment.value(name).has_value()) {
            return true;
        }
    }
    return false;
}

}  // namespace

TEST(BrewService, ThrowsHomebrewNotFoundWithoutLaunchingWhenNoCandidateExists) {
    BrewSandbox sandbox;
    EXPECT_EQ(failureOf(sandbox, {versionCommand}).kind(), BrewError::Kind::homebrewNotFound);
    EXPECT_TRUE(sandbox.state.invocations().isEmpty());
    EXPECT_FALSE(sandbox.capture.containsText(QStringLiteral("Executing brew command")));
}

TEST(BrewService, UpdateWarnsAndReturnsWhenNoCandidateExists) {
    BrewSandbox sandbox;
    await(sandbox.brewService().updateHomebrew());
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::warning,
        QStringLiteral("brew update failed: Homebrew is not installed or not found in standard "
                       "locations")));
    EXPECT_TRUE(sandbox.state.invocations().isEmpty());
}

TEST(BrewService, FindsBrewInstalledAfterAFailedSearch) {
    BrewSandbox sandbox;
    EXPECT_THROW(run(sandbox, {versionCommand}), BrewError);
    sandbox.installBrew();
    EXPECT_EQ(run(sandbox, {versionCommand}), QStringLiteral("Homebrew 4.5.0"));
}

TEST(BrewService, PrefersTheFirstCandidateWhenBothExist) {
    BrewSandbox sandbox;
    sandbox.state.installAt(sandbox.layout.brewCandidates.at(1));
    sandbox.installBrew();
    EXPECT_EQ(sandbox.brewService().locateBrew(), sandbox.layout.brewCandidates.first());
}

TEST(BrewService, KeepsACachedPathEvenWhenTheFileIsRemoved) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    ASSERT_TRUE(sandbox.brewService().isHomebrewAvailable());
    QFile::remove(sandbox.layout.brewCandidates.first());
    EXPECT_TRUE(sandbox.brewService().isHomebrewAvailable());
    EXPECT_EQ(sandbox.brewService().cachedBrewPath(), sandbox.layout.brewCandidates.first());
}

TEST(BrewService, ReturnsOutputWithoutItsTrailingNewline) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setVersionText(QStringLiteral("Homebrew 4.5.0-custom"));
    EXPECT_EQ(run(sandbox, {versionCommand}), QStringLiteral("Homebrew 4.5.0-custom"));
}

TEST(BrewService, ReturnsEmptyOutputAsTheEmptyText) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    const QString output = run(sandbox, {{QStringLiteral("cleanup"), QStringLiteral("firefox")}});
    EXPECT_TRUE(output.isEmpty());
}

TEST(BrewService, ReturnsOutputThatIsNotUtf8AsTheEmptyText) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("--version"), failing(0, "Homebrew \xff\xfe 4.5\n"));
    EXPECT_EQ(run(sandbox, {versionCommand}), QString());
}

TEST(BrewService, FallsBackToTheOutputFormWhenStandardErrorIsNotUtf8) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("install"),
                               failing(1, "Installing firefox\n", "broken \xc3\x28 bytes\n"));
    const BrewError error =
        failureOf(sandbox, {installCommand(QStringLiteral("firefox")), false, false, {}, true});
    ASSERT_EQ(error.kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(error.standardError(), QString());
    EXPECT_EQ(error.description(), QStringLiteral("Homebrew command failed: Installing firefox"));
}

TEST(BrewService, RunsInTheHomeFolderWithTheHomebrewVariables) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    run(sandbox, {versionCommand});
    const FakeBrewInvocation invocation = sandbox.state.invocations().value(0);
    EXPECT_EQ(invocation.arguments, versionCommand);
    EXPECT_EQ(invocation.workingDirectory, sandbox.layout.homeDirectory);
    EXPECT_EQ(invocation.environment.value(QStringLiteral("HOMEBREW_NO_AUTO_UPDATE")),
              QStringLiteral("1"));
    EXPECT_EQ(invocation.environment.value(QStringLiteral("HOMEBREW_NO_ENV_HINTS")),
              QStringLiteral("1"));
}

TEST(BrewService, FirstRunWithoutAdminCarriesNoAskpassVariables) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    run(sandbox, {versionCommand, false, false, {}, true});
    ASSERT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_FALSE(hasAnyAskpassVariable(sandbox.state.invocations().first()));
}

TEST(BrewService, PassesOnAskpassVariablesThatTheProgramInherited) {
    const ScopedVariable inherited("SUDO_ASKPASS", "/inherited/askpass");
    BrewSandbox sandbox;
    sandbox.installBrew();
    run(sandbox, {versionCommand});
    const FakeBrewInvocation invocation = sandbox.state.invocations().value(0);
    EXPECT_EQ(invocation.environment.value(QStringLiteral("SUDO_ASKPASS")),
              QStringLiteral("/inherited/askpass"));
    EXPECT_FALSE(invocation.environment.value(QStringLiteral("HOMEBREW_SUDO_ASKPASS")).has_value());
}

TEST(BrewService, AdminRunCarriesTheWholeAskpassEnvironment) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    run(sandbox, {versionCommand, true, false, {}, true});
    const FakeBrewInvocation invocation = sandbox.state.invocations().value(0);
    const QString helper = sandbox.path(QStringLiteral("tmp/tarnel_askpass.sh"));
    EXPECT_EQ(invocation.environment.value(QStringLiteral("SUDO_ASKPASS")), helper);
    EXPECT_EQ(invocation.environment.value(QStringLiteral("SSH_ASKPASS")), helper);
    EXPECT_EQ(invocation.environment.value(QStringLiteral("SSH_ASKPASS_REQUIRE")),
              QStringLiteral("force"));
    EXPECT_EQ(invocation.environment.value(QStringLiteral("HOMEBREW_SUDO_ASKPASS")),
              QStringLiteral("1"));
    EXPECT_EQ(invocation.environment.value(QStringLiteral("SUDO_PROMPT")), QString(""));
    EXPECT_EQ(invocation.environment.value(QStringLiteral("DISPLAY")), QStringLiteral(":0"));
    EXPECT_TRUE(sandbox.capture.contains(LogLevel::info,
                                         QStringLiteral("Using askpass helper: ") + helper));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::info, QStringLiteral("SUDO_ASKPASS environment variable set to: ") + helper));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::info,
        QStringLiteral("Environment variables set: HOMEBREW_SUDO_ASKPASS=1, SUDO_ASKPASS=") +
            helper));
}

TEST(BrewService, LogsTheCommandAndItsRunAsTheyHappen) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    run(sandbox, {{QStringLiteral("cleanup"), QStringLiteral("a \"quoted\" token")},
                  false,
                  false,
                  {},
                  true});
    const QStringList expected{
        QStringLiteral("[INFO] Executing brew command: cleanup a \"quoted\" token"),
        QStringLiteral("[INFO] Admin required: false, Admin permission granted: true"),
        QStringLiteral("[INFO] Starting brew process with arguments: [\"cleanup\", \"a "
                       "\\\"quoted\\\" token\"]"),
        QStringLiteral("[INFO] Admin required: false, Has permission: true"),
        QStringLiteral("[INFO] Brew process completed with exit status: 0"),
        QStringLiteral("[INFO] Brew command completed successfully"),
    };
    EXPECT_EQ(sandbox.capture.lines(), expected);
}

TEST(BrewService, TellsTheProgressHandlerInitializingThenInstalling) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    ProgressRecorder recorder;
    run(sandbox, {versionCommand, false, false, recorder.handler(), true});
    const QList<UpdateState> expected{UpdateState::initializing(), UpdateState::installing()};
    EXPECT_EQ(*recorder.states, expected);
}

TEST(BrewService, RetriesWithAdminWhenPermissionGranted) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("--version"),
                               needingPassword(QStringLiteral("correct horse")));
    EXPECT_EQ(run(sandbox, {versionCommand, false, false, {}, true}),
              QStringLiteral("Homebrew 4.5.0"));

    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 2);
    EXPECT_FALSE(hasAnyAskpassVariable(invocations.at(0)));
    EXPECT_EQ(invocations.at(0).exitStatus, 1);
    EXPECT_TRUE(invocations.at(1).environment.value(QStringLiteral("SUDO_ASKPASS")).has_value());
    EXPECT_EQ(invocations.at(1).exitStatus, 0);
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::info, QStringLiteral("Brew command failed, retrying with admin privileges...")));
    EXPECT_TRUE(
        sandbox.capture.contains(LogLevel::info, QStringLiteral("First attempt failed with: ")));
    EXPECT_TRUE(sandbox.capture.contains(LogLevel::info,
                                         QStringLiteral("Brew command completed successfully")));
}

TEST(BrewService, ExplainsASudoRefusalWithTheExpectedAskpassPath) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("--version"),
                               needingPassword(QStringLiteral("correct horse")));
    run(sandbox, {versionCommand, false, false, {}, true});
    EXPECT_TRUE(sandbox.capture.contains(LogLevel::error,
                                         QStringLiteral("Brew command failed with status 1")));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("SUDO_ASKPASS was not used by sudo. Environment may not have propagated "
                       "correctly.")));
    EXPECT_TRUE(
        sandbox.capture.contains(LogLevel::error, QStringLiteral("Expected askpass path: nil")));
}

TEST(BrewService, CancelledDialogFailsEvenWithAdmin) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.setDialogAnswer(QString());
    sandbox.state.setBehaviour(QStringLiteral("--version"),
                               needingPassword(QStringLiteral("correct horse")));
    ProgressRecorder recorder;
    const BrewError error =
        failureOf(sandbox, {versionCommand, false, false, recorder.handler(), true});
    EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
    EXPECT_TRUE(error.description().contains(QStringLiteral("sudo: no password was provided")));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error, QStringLiteral("Expected askpass path: ") +
                             sandbox.path(QStringLiteral("tmp/tarnel_askpass.sh"))));
    EXPECT_EQ(recorder.states->last(), UpdateState::error(QStringLiteral("Command failed")));
}

TEST(BrewService, WrongPasswordFailsWithCommandFailedAfterTheRetry) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.setDialogAnswer(QStringLiteral("wrong guess"));
    sandbox.state.setBehaviour(QStringLiteral("install"),
                               needingPassword(QStringLiteral("correct horse")));
    const BrewError error =
        failureOf(sandbox, {installCommand(QStringLiteral("firefox")), false, false, {}, true});
    EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(sandbox.state.invocations().size(), 2);
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Brew command failed even with admin privileges. Status: 1")));
    EXPECT_TRUE(sandbox.capture.containsText(QStringLiteral("[ERROR] Final output: ")));
}

TEST(BrewService, NeverWritesThePasswordToALogOrAFile) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    const QString password = QStringLiteral("correct horse");
    sandbox.state.setBehaviour(QStringLiteral("--version"), needingPassword(password));
    run(sandbox, {versionCommand, true, false, {}, true});
    ASSERT_EQ(sandbox.state.invocations().value(0).exitStatus, 0);
    EXPECT_FALSE(sandbox.capture.containsText(password));
    EXPECT_FALSE(sandbox.state.invocationLog().contains(password.toUtf8()));
    QFile helper(sandbox.path(QStringLiteral("tmp/tarnel_askpass.sh")));
    ASSERT_TRUE(helper.open(QIODevice::ReadOnly));
    EXPECT_FALSE(helper.readAll().contains(password.toUtf8()));
}

TEST(BrewService, RunThatAskedForAdminIsNeverRetried) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("install"), failing(1, "nope"));
    const BrewError error =
        failureOf(sandbox, {installCommand(QStringLiteral("firefox")), true, false, {}, true});
    EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_FALSE(sandbox.capture.containsText(QStringLiteral("retrying")));
}

TEST(BrewService, AnyFailureWithoutPermissionIsAdminPermissionRequired) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    ProgressRecorder recorder;
    const BrewError error = failureOf(sandbox, {installCommand(QStringLiteral("no-such-cask")),
                                                false, false, recorder.handler(), false});
    EXPECT_EQ(error.kind(), BrewError::Kind::adminPermissionRequired);
    EXPECT_EQ(error.description(),
              QStringLiteral("Administrator privileges required but permission not granted"));
    EXPECT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Brew command failed and admin permission not granted by user")));
    // The handler is not told of this failure.
    const QList<UpdateState> expected{UpdateState::initializing(), UpdateState::installing()};
    EXPECT_EQ(*recorder.states, expected);
}

TEST(BrewService, RequiresAdminWithoutPermissionRunsOnceWithoutAskpass) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("install"), failing(1));
    const BrewError error =
        failureOf(sandbox, {installCommand(QStringLiteral("firefox")), true, false, {}, false});
    EXPECT_EQ(error.kind(), BrewError::Kind::adminPermissionRequired);
    ASSERT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_FALSE(hasAnyAskpassVariable(sandbox.state.invocations().first()));
}

TEST(BrewService, ToleratesOutdatedStatusOneAsSuccess) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.addCaskFromFile(sharedDir() + QStringLiteral("/data/casks/firefox.json"));
    sandbox.state.setInstalledVersion(QStringLiteral("firefox"), QStringLiteral("150.0"));
    const QString output = run(sandbox, {oneCaskOutdatedCommand, false, true, {}, false});
    EXPECT_EQ(output, QStringLiteral("firefox"));
    ASSERT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_EQ(sandbox.state.invocations().first().exitStatus, 1);
}

TEST(BrewService, OutdatedStatusOneCostsOneRetryWithAdminWhenPermitted) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.addCaskFromFile(sharedDir() + QStringLiteral("/data/casks/firefox.json"));
    sandbox.state.setInstalledVersion(QStringLiteral("firefox"), QStringLiteral("150.0"));
    const QString output = run(sandbox, {oneCaskOutdatedCommand, false, true, {}, true});
    EXPECT_EQ(output, QStringLiteral("firefox"));
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 2);
    EXPECT_TRUE(invocations.at(1).environment.value(QStringLiteral("SUDO_ASKPASS")).has_value());
}

TEST(BrewService, JudgesTheRetriedOutdatedRunByItsOwnStatus) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviours(QStringLiteral("outdated"),
                                {failing(1, "{}"), failing(2, "partial", "Error: broken tap")});
    ProgressRecorder recorder;
    const BrewError error =
        failureOf(sandbox, {outdatedCommand, false, true, recorder.handler(), true});
    EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(error.description(), QStringLiteral("Homebrew command failed:\n\nError: broken tap"));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error, QStringLiteral("Brew command failed with status 2: partial")));
    EXPECT_EQ(recorder.states->last(), UpdateState::error(QStringLiteral("Command failed")));
}

TEST(BrewService, ToleranceWithoutOutdatedChangesNothing) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("list"), failing(1));
    const BrewError error = failureOf(
        sandbox, {{QStringLiteral("list"), QStringLiteral("--cask")}, false, true, {}, false});
    EXPECT_EQ(error.kind(), BrewError::Kind::adminPermissionRequired);
}

TEST(BrewService, CannotCreateTheAskpassHelperIsACommandFailure) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.layout.temporaryDirectory = sandbox.path(QStringLiteral("state/state.json/below"));
    const BrewError error = failureOf(sandbox, {versionCommand, true, false, {}, true});
    EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(error.output(), QStringLiteral("Cannot create askpass helper"));
    EXPECT_EQ(error.standardError(), QStringLiteral("Cannot create askpass helper"));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Failed to create askpass helper - admin operations will fail")));
    EXPECT_TRUE(sandbox.state.invocations().isEmpty());
}

TEST(BrewService, LaunchFailureIsAProcessLaunchErrorAndNoBrewError) {
    BrewSandbox sandbox;
    const QString brew = sandbox.layout.brewCandidates.first();
    QDir().mkpath(QFileInfo(brew).path());
    QFile file(brew);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not a program");
    file.close();
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    try {
        run(sandbox, {versionCommand, false, false, {}, true});
        ADD_FAILURE() << "the launch did not fail";
    } catch (const ProcessLaunchError& error) {
        EXPECT_FALSE(error.description().isEmpty());
        EXPECT_EQ(error.program(), brew);
    }
}

TEST(BrewService, DrainsMegabytesOnBothStreamsWithoutBlocking) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    FakeBrewBehaviour chatty;
    chatty.outputMegabytes = 8;
    sandbox.state.setBehaviour(QStringLiteral("--version"), chatty);
    const QString output = run(sandbox, {versionCommand});
    EXPECT_GE(output.size(), 8 * 1024 * 1024);
    EXPECT_TRUE(output.endsWith(QStringLiteral("Homebrew 4.5.0")));
}

TEST(BrewService, KeepsTheTwoStreamsApart) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("install"), failing(1, "on stdout\n", "on stderr\n"));
    const BrewError error =
        failureOf(sandbox, {installCommand(QStringLiteral("firefox")), true, false, {}, true});
    EXPECT_EQ(error.output(), QStringLiteral("on stdout"));
    EXPECT_EQ(error.standardError(), QStringLiteral("on stderr"));
    EXPECT_TRUE(
        sandbox.capture.contains(LogLevel::error, QStringLiteral("Brew stderr: on stderr")));
    EXPECT_TRUE(
        sandbox.capture.contains(LogLevel::error, QStringLiteral("Brew stdout: on stdout")));
}

TEST(BrewService, RunsTwoCommandsAtOnce) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("--version"), slow(600));
    auto both = [&]() -> QCoro::Task<QStringList> {
        QCoro::Task<QString> first = start(sandbox, {versionCommand});
        QCoro::Task<QString> second = start(sandbox, {versionCommand});
        QStringList outputs;
        outputs.append(co_await first);
        outputs.append(co_await second);
        co_return outputs;
    };
    EXPECT_EQ(await(both()).size(), 2);
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 2);
    EXPECT_LT(invocations.at(0).startedAt, invocations.at(1).endedAt);
    EXPECT_LT(invocations.at(1).startedAt, invocations.at(0).endedAt);
}

TEST(BrewService, CancellingTheCallerLetsTheCommandRunToItsEnd) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviour(QStringLiteral("--version"), slow(300));
    const TaskHandle<QString> handle = TaskHandle<QString>::start(
        [&](CancellationToken) { return start(sandbox, {versionCommand}); });
    handle.cancel();
    EXPECT_EQ(await(handle.result()), QStringLiteral("Homebrew 4.5.0"));
    ASSERT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_EQ(sandbox.state.invocations().first().exitStatus, 0);
}

TEST(BrewService, UpdateRecordsSuccessAndItsOutput) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    await(sandbox.brewService().updateHomebrew());
    const FakeBrewInvocation invocation = sandbox.state.invocations().value(0);
    EXPECT_EQ(invocation.arguments, QStringList{QStringLiteral("update")});
    EXPECT_FALSE(hasAnyAskpassVariable(invocation));
    for (const QString& line :
         {QStringLiteral("Running brew update..."),
          QStringLiteral("Executing brew command: update"),
          QStringLiteral("Admin required: false, Admin permission granted: false"),
          QStringLiteral("brew update completed successfully"),
          QStringLiteral("brew update output: Already up-to-date.")}) {
        EXPECT_TRUE(sandbox.capture.contains(LogLevel::info, line)) << line.toStdString();
    }
}

TEST(BrewService, SecondUpdateWithinThirtyMinutesDoesNothing) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    await(sandbox.brewService().updateHomebrew());
    sandbox.clock.advance(1799);
    await(sandbox.brewService().updateHomebrew());
    EXPECT_EQ(sandbox.state.invocations().size(), 1);
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::info,
        QStringLiteral("Skipping brew update - last update was less than 30 minutes ago")));
}

TEST(BrewService, UpdateRunsAgainAfterThirtyMinutes) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    await(sandbox.brewService().updateHomebrew());
    sandbox.clock.advance(1800);
    await(sandbox.brewService().updateHomebrew());
    EXPECT_EQ(sandbox.state.invocations().size(), 2);
}

TEST(BrewService, UpdateRunsAgainAtOnceAfterAFailure) {
    BrewSandbox sandbox;
    sandbox.installBrew();
    sandbox.state.setBehaviours(QStringLiteral("update"),
                                {failing(1, {}, "Error: fetch failed"), {}});
    await(sandbox.brewService().updateHomebrew());
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::error,
        QStringLiteral("Brew command failed and admin permission not granted by user")));
    EXPECT_TRUE(sandbox.capture.contains(
        LogLevel::warning,
        QStringLiteral(
            "brew update failed: Administrator privileges required but permission not granted")));
    await(sandbox.brewService().updateHomebrew());
    EXPECT_EQ(sandbox.state.invocations().size(), 2);
    EXPECT_TRUE(sandbox.capture.contains(LogLevel::info,
                                         QStringLiteral("brew update completed successfully")));
}

TEST(BrewService, UpdateLogsALaunchFailureAndReturns) {
    BrewSandbox sandbox;
    const QString brew = sandbox.layout.brewCandidates.first();
    QDir().mkpath(QFileInfo(brew).path());
    QDir().mkpath(brew);
    await(sandbox.brewService().updateHomebrew());
    EXPECT_TRUE(sandbox.capture.containsText(QStringLiteral("[WARNING] brew update failed: ")));
}
