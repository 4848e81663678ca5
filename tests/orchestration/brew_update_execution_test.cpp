#include "update_sandbox.h"

#include "core/async/task_handle.h"
#include "homebrew/brew_error.h"

#include "support/await.h"

#include <gtest/gtest.h>

#include <optional>

using namespace tarnel;

namespace {

const QString cleanupCommand = QStringLiteral("cleanup");
const QString upgradeCommand = QStringLiteral("upgrade");
const QString outdatedCommand = QStringLiteral("outdated");

const QStringList cleanupArguments{QStringLiteral("cleanup"), QStringLiteral("tool")};
const QStringList upgradeArguments{QStringLiteral("upgrade"), QStringLiteral("--cask"),
                                   QStringLiteral("--force"), QStringLiteral("tool"),
                                   QStringLiteral("--no-quarantine")};
const QStringList verificationArguments{QStringLiteral("outdated"), QStringLiteral("--cask"),
                                        QStringLiteral("tool")};

const QString manualUpdateText = QStringLiteral(
    "Tarnel cannot update this cask through brew even with Admin Password permission. You will "
    "need to update manually");

// A long `brew` error output with `line` in its middle.
QByteArray longOutputAround(const QByteArray& line) {
    QByteArray output;
    for (int index = 0; index < 300; ++index) {
        output += "==> Moving part " + QByteArray::number(index) + " of the App\n";
        if (index == 150) {
            output += line + '\n';
        }
    }
    return output;
}

// "Starting brew process with arguments: [...]" as the runner logs it.
QString startLine(const QStringList& arguments) {
    return infoLine(QStringLiteral("Starting brew process with arguments: [\"") +
                    arguments.join(QStringLiteral("\", \"")) + QStringLiteral("\"]"));
}

class BrewUpdateExecution : public ::testing::Test {
protected:
    void SetUp() override {
        const QList<BrewUpdate> updates =
            await(sandbox.updateService().checkBrewUpdates({tool}, false));
        ASSERT_EQ(updates.size(), 1);
        pending = updates.first();
    }

    void upgrade(bool hasAdminPermission = false) {
        await(sandbox.updateService().updateViaBrew(pending, hasAdminPermission));
    }

    // The upgrade without administrator rights, for a caller of its own.
    TaskHandle<> startUpgrade() {
        return startTask([&service = sandbox.updateService(), update = pending] {
            return service.updateViaBrew(update, false);
        });
    }

    std::optional<BrewError> upgradeError(bool hasAdminPermission) {
        try {
            upgrade(hasAdminPermission);
        } catch (const BrewError& error) {
            return error;
        }
        ADD_FAILURE() << "the upgrade did not fail with a BrewError";
        return std::nullopt;
    }

    // The pending updates of `tool` as the cache holds them; no `brew` runs
    // within the check's life.
    QList<BrewUpdate> cachedUpdates() {
        return await(sandbox.updateService().checkBrewUpdates({tool}, false));
    }

    QList<FakeBrewInvocation> runsWith(const QStringList& arguments) const {
        QList<FakeBrewInvocation> runs;
        for (const FakeBrewInvocation& invocation : sandbox.brew.state.invocations()) {
            if (invocation.arguments == arguments) {
                runs.append(invocation);
            }
        }
        return runs;
    }

    // Milliseconds from the end of the clean-up to the start of the upgrade.
    qint64 pauseAfterCleanUp() const {
        const QList<FakeBrewInvocation> cleanup = runsWith(cleanupArguments);
        const QList<FakeBrewInvocation> upgrade = runsWith(upgradeArguments);
        EXPECT_EQ(cleanup.size(), 1);
        EXPECT_EQ(upgrade.size(), 1);
        if (cleanup.isEmpty() || upgrade.isEmpty()) {
            return -1;
        }
        return upgrade.first().startedAt - cleanup.first().endedAt;
    }

    // Every `upgrade` run fails with `standardError`.
    void failUpgrades(const QByteArray& standardError) {
        sandbox.brew.state.setBehaviour(
            upgradeCommand, FakeBrewBehaviour{.exitStatus = 1, .standardError = standardError});
    }

    // Runs the upgrade for a caller of its own, cancels that caller while the
    // step with `arguments` runs, and waits for the caller to end.
    void cancelTheCallerDuring(const QStringList& arguments) {
        sandbox.brew.state.setBehaviour(arguments.first(),
                                        FakeBrewBehaviour{.delayMilliseconds = 1000});
        const TaskHandle<> caller = startUpgrade();
        ASSERT_TRUE(waitUntil([&] { return sandbox.logLines().contains(startLine(arguments)); }));
        ASSERT_TRUE(runsWith(arguments).isEmpty()) << "the step ended before the cancel";
        caller.cancel();

        EXPECT_NO_THROW(await(caller.result()));
    }

    // Clean-up, upgrade and verification each ran once, one after the other,
    // to their ends, and the bundle carries the cask's version.
    void expectTheWholeUpgradeRan() {
        const QList<FakeBrewInvocation> cleanup = runsWith(cleanupArguments);
        const QList<FakeBrewInvocation> upgrade = runsWith(upgradeArguments);
        const QList<FakeBrewInvocation> verification = runsWith(verificationArguments);
        ASSERT_EQ(cleanup.size(), 1);
        ASSERT_EQ(upgrade.size(), 1);
        ASSERT_EQ(verification.size(), 1);
        EXPECT_EQ(upgrade.first().exitStatus, 0);
        EXPECT_LE(cleanup.first().endedAt, upgrade.first().startedAt);
        EXPECT_LE(upgrade.first().endedAt, verification.first().startedAt);
        EXPECT_EQ(UpdateSandbox::bundleVersion(tool).shortVersion, QStringLiteral("2.0"));
        EXPECT_FALSE(sandbox.updateService().isBrewUpdateRunning(tool.id));
        EXPECT_TRUE(sandbox.brew.capture.contains(LogLevel::info,
                                                  QStringLiteral("Successfully updated tool")));
    }

    UpdateSandbox sandbox;
    // Managed by cask "tool": 1.0 installed, 2.0 in the catalogue.
    Application tool = sandbox.addCaskApplication(QStringLiteral("Tool"), QStringLiteral("tool"),
                                                  QStringLiteral("1.0"), QStringLiteral("2.0"));
    BrewUpdate pending;
};

}  // namespace

TEST_F(BrewUpdateExecution, UpgradesTheBundleToTheVersionOfTheCask) {
    upgrade();

    const BundleVersion version = UpdateSandbox::bundleVersion(tool);
    EXPECT_EQ(version.shortVersion, QStringLiteral("2.0"));
    EXPECT_EQ(version.buildVersion, QStringLiteral("2.0"));
    EXPECT_FALSE(sandbox.updateService().isBrewUpdateRunning(tool.id));
}

TEST_F(BrewUpdateExecution, CleansUpUpgradesAndVerifiesInThisOrder) {
    upgrade();

    QList<QStringList> steps;
    for (const FakeBrewInvocation& invocation : sandbox.brew.state.invocations().mid(1)) {
        steps.append(invocation.arguments);
        EXPECT_FALSE(invocation.environment.value(QStringLiteral("SUDO_ASKPASS")).has_value());
    }
    EXPECT_EQ(steps,
              (QList<QStringList>{cleanupArguments, upgradeArguments, verificationArguments}));
}

TEST_F(BrewUpdateExecution, LogsEachStepInOrder) {
    upgrade();

    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {infoLine(QStringLiteral("Updating application %1 via Brew").arg(tool.id)),
         infoLine(QStringLiteral("Cleaning up before upgrade for tool")),
         infoLine(QStringLiteral("Cleanup completed for tool")),
         infoLine(QStringLiteral("Upgrading tool with --force")),
         infoLine(QStringLiteral("Verification: tool is up-to-date")),
         infoLine(QStringLiteral("Update verified successful for tool")),
         infoLine(QStringLiteral("Successfully updated tool")),
         infoLine(QStringLiteral("Cleaned up active brew update task for %1").arg(tool.id))}));
}

TEST_F(BrewUpdateExecution, WaitsHalfASecondBetweenTheCleanUpAndTheUpgrade) {
    upgrade();

    EXPECT_GE(pauseAfterCleanUp(), 500);
}

TEST_F(BrewUpdateExecution, AFailingCleanUpDelaysTheUpgradeJustTheSame) {
    sandbox.brew.state.setBehaviour(
        cleanupCommand,
        FakeBrewBehaviour{.exitStatus = 1,
                          .standardError = "Error: Permission denied @ apply2files"});

    upgrade();

    EXPECT_GE(pauseAfterCleanUp(), 500);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("Cleanup failed for tool, continuing anyway: "
                                          "Administrator privileges required but permission not "
                                          "granted")));
    EXPECT_EQ(UpdateSandbox::bundleVersion(tool).shortVersion, QStringLiteral("2.0"));
}

TEST_F(BrewUpdateExecution, TheCleanUpAndTheVerificationNeverAskForAdministratorRights) {
    sandbox.brew.state.setBehaviour(
        cleanupCommand,
        FakeBrewBehaviour{.exitStatus = 1, .standardError = "Error: cleanup failed"});
    sandbox.brew.state.setBehaviour(
        outdatedCommand, FakeBrewBehaviour{.exitStatus = 1, .standardOutput = "tool (1.0) != 2.0"});

    upgrade(true);

    ASSERT_EQ(runsWith(cleanupArguments).size(), 1);
    ASSERT_EQ(runsWith(verificationArguments).size(), 1);
    EXPECT_FALSE(runsWith(cleanupArguments)
                     .first()
                     .environment.value(QStringLiteral("SUDO_ASKPASS"))
                     .has_value());
}

TEST_F(BrewUpdateExecution, ASecondUpgradeDuringTheFirstReturnsAtOnceWithAWarning) {
    sandbox.brew.state.setBehaviour(cleanupCommand, FakeBrewBehaviour{.delayMilliseconds = 500});
    UpdateService& service = sandbox.updateService();
    const TaskHandle<> first = startUpgrade();
    ASSERT_TRUE(service.isBrewUpdateRunning(tool.id));

    upgrade();

    EXPECT_TRUE(service.isBrewUpdateRunning(tool.id));
    EXPECT_FALSE(first.isFinished());
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning,
        QStringLiteral("Brew update already in progress for application %1").arg(tool.id)));
    await(first.result());
    EXPECT_EQ(runsWith(cleanupArguments).size(), 1);
    EXPECT_EQ(runsWith(upgradeArguments).size(), 1);
}

TEST_F(BrewUpdateExecution, ASuccessRemovesThePendingUpdateFromTheCache) {
    upgrade();

    EXPECT_TRUE(cachedUpdates().isEmpty());
    EXPECT_EQ(sandbox.brew.state.invocationsOf(outdatedCommand).size(), 2);
}

TEST_F(BrewUpdateExecution, AnUpgradeThatLeavesTheCaskOutdatedStillSucceedsWithAWarning) {
    // The upgrade says it succeeded but changes nothing, so the cask stays outdated.
    sandbox.brew.state.setBehaviour(
        upgradeCommand, FakeBrewBehaviour{.exitStatus = 0, .standardOutput = "==> Upgrading tool"});

    upgrade();

    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {warningLine(QStringLiteral("Verification: tool still shows as outdated")),
         warningLine(QStringLiteral("Update may have failed for tool - version check failed")),
         infoLine(QStringLiteral("Successfully updated tool"))}));
    EXPECT_TRUE(cachedUpdates().isEmpty());
    sandbox.brew.clock.advance(1800);
    EXPECT_EQ(cachedUpdates().size(), 1);
}

TEST_F(BrewUpdateExecution, AVerificationNamingTheCaskInsideALongerTokenCountsAsOutdated) {
    sandbox.brew.state.setBehaviour(
        outdatedCommand,
        FakeBrewBehaviour{.exitStatus = 1, .standardOutput = "toolbox (1.0) != 2.0\n"});

    upgrade();

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("Verification: tool still shows as outdated")));
    EXPECT_FALSE(sandbox.brew.capture.contains(LogLevel::info,
                                               QStringLiteral("Verification: tool is up-to-date")));
}

TEST_F(BrewUpdateExecution, AVerificationThatCannotRunLeavesTheUpgradeASuccess) {
    sandbox.brew.state.setBehaviour(
        outdatedCommand, FakeBrewBehaviour{.exitStatus = 2, .standardError = "Error: broken"});

    upgrade();

    const QStringList lines = sandbox.logLines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const QString& line) {
        return line.startsWith(
            warningLine(QStringLiteral("Could not verify update status for tool: ")));
    })) << lines.join(u'\n').toStdString();
    EXPECT_TRUE(
        containsInOrder(lines, {infoLine(QStringLiteral("Update verified successful for tool")),
                                infoLine(QStringLiteral("Successfully updated tool"))}));
    EXPECT_TRUE(cachedUpdates().isEmpty());
}

TEST_F(BrewUpdateExecution, AFailureWithoutThePermissionIsThrownAsItCameAndKeepsTheUpdate) {
    failUpgrades("Error: Download failed");

    const std::optional<BrewError> error = upgradeError(false);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), BrewError::Kind::adminPermissionRequired);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::error, QStringLiteral("Update failed for tool: Administrator privileges required "
                                        "but permission not granted")));
    EXPECT_TRUE(runsWith(verificationArguments).isEmpty());
    EXPECT_EQ(cachedUpdates().size(), 1);
    EXPECT_EQ(UpdateSandbox::bundleVersion(tool).shortVersion, QStringLiteral("1.0"));
}

TEST_F(BrewUpdateExecution, WithThePermissionAFailedUpgradeIsRetriedWithAdministratorRights) {
    sandbox.brew.state.setBehaviours(
        upgradeCommand, {FakeBrewBehaviour{.exitStatus = 1, .standardError = "Error: needs sudo"},
                         FakeBrewBehaviour()});

    upgrade(true);

    const QList<FakeBrewInvocation> upgrades = runsWith(upgradeArguments);
    ASSERT_EQ(upgrades.size(), 2);
    EXPECT_FALSE(upgrades.at(0).environment.value(QStringLiteral("SUDO_ASKPASS")).has_value());
    EXPECT_TRUE(upgrades.at(1).environment.value(QStringLiteral("SUDO_ASKPASS")).has_value());
    EXPECT_EQ(UpdateSandbox::bundleVersion(tool).shortVersion, QStringLiteral("2.0"));
}

TEST_F(BrewUpdateExecution, OperationNotPermittedInTheMiddleOfALongOutputIsRewritten) {
    failUpgrades(longOutputAround(
        "Error: Operation not permitted @ rb_sysopen - /Applications/Tool.app/Contents"));

    const std::optional<BrewError> error = upgradeError(true);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(error->output(), manualUpdateText);
    EXPECT_FALSE(error->standardError().has_value());
    EXPECT_EQ(error->description(), QStringLiteral("Homebrew command failed: ") + manualUpdateText);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::error, QStringLiteral("Permission-related update failure for tool")));
    EXPECT_EQ(cachedUpdates().size(), 1);
}

TEST_F(BrewUpdateExecution, ATerminalRequiredBySudoIsRewritten) {
    failUpgrades("sudo: a terminal is required to read the password");

    const std::optional<BrewError> error = upgradeError(true);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->output(), manualUpdateText);
}

TEST_F(BrewUpdateExecution, APasswordRequiredBySudoIsRewritten) {
    failUpgrades("sudo: a password is required");

    const std::optional<BrewError> error = upgradeError(true);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->output(), manualUpdateText);
    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(),
        {errorLine(QStringLiteral("Update failed for tool: Homebrew command failed:\n\n"
                                  "sudo: a password is required")),
         errorLine(QStringLiteral("Permission-related update failure for tool"))}));
}

TEST_F(BrewUpdateExecution, APasswordRequiredWithACapitalSIsThrownAsItCame) {
    failUpgrades("Sudo: a password is required");

    const std::optional<BrewError> error = upgradeError(true);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(error->standardError(), QStringLiteral("Sudo: a password is required"));
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("Permission-related")));
}

TEST_F(BrewUpdateExecution, AfterAFailedUpgradeARetryStartsNormally) {
    sandbox.brew.state.setBehaviours(
        upgradeCommand,
        {FakeBrewBehaviour{.exitStatus = 1, .standardError = "Error: Download failed"},
         FakeBrewBehaviour()});
    ASSERT_TRUE(upgradeError(false));
    EXPECT_FALSE(sandbox.updateService().isBrewUpdateRunning(tool.id));
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info, QStringLiteral("Cleaned up active brew update task for %1").arg(tool.id)));

    upgrade();

    EXPECT_EQ(runsWith(cleanupArguments).size(), 2);
    EXPECT_EQ(runsWith(upgradeArguments).size(), 2);
    EXPECT_EQ(UpdateSandbox::bundleVersion(tool).shortVersion, QStringLiteral("2.0"));
}

TEST_F(BrewUpdateExecution, ACallerCancelledDuringTheCleanUpLeavesTheUpgradeToRunToItsEnd) {
    cancelTheCallerDuring(cleanupArguments);

    expectTheWholeUpgradeRan();
}

TEST_F(BrewUpdateExecution, ACallerCancelledDuringTheUpgradeLeavesItToRunToItsEnd) {
    cancelTheCallerDuring(upgradeArguments);

    expectTheWholeUpgradeRan();
}

TEST_F(BrewUpdateExecution, ACallerCancelledDuringTheVerificationLeavesItToRunToItsEnd) {
    cancelTheCallerDuring(verificationArguments);

    expectTheWholeUpgradeRan();
    EXPECT_TRUE(cachedUpdates().isEmpty());
}
