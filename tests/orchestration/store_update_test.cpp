#include "update_sandbox.h"

#include "core/async/task_handle.h"
#include "updates/mas_error.h"

#include "support/await.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

using namespace tarnel;
using namespace std::chrono_literals;

namespace {

QStringList storeIds(const QList<MASUpdate>& updates) {
    QStringList ids;
    for (const MASUpdate& update : updates) {
        ids.append(update.appId);
    }
    return ids;
}

bool anyLineStartsWith(const QStringList& lines, const QString& start) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const QString& line) { return line.startsWith(start); });
}

class StoreUpdates : public ::testing::Test {
protected:
    // Listed after the update of Two, so that the store's order differs from
    // the order of the applications.
    StoreUpdates() { sandbox.mas.addUpdate(QStringLiteral("111"), QStringLiteral("2.0")); }

    QList<MASUpdate> check(const QList<Application>& applications) {
        return await(sandbox.updateService().checkMASUpdates(applications));
    }

    // The pending update of "One", as the store reports it.
    MASUpdate pendingUpdateOfOne() {
        const QList<MASUpdate> updates = check({one});
        for (const MASUpdate& update : updates) {
            if (update.appId == one.masApp->id) {
                return update;
            }
        }
        ADD_FAILURE() << "no update of One";
        return {};
    }

    std::optional<MASError> upgradeError(const MASUpdate& update,
                                         ProgressHandler progressHandler = {}) {
        try {
            await(sandbox.updateService().updateViaMAS(update, std::move(progressHandler)));
        } catch (const MASError& error) {
            return error;
        }
        ADD_FAILURE() << "the upgrade did not fail with a MASError";
        return std::nullopt;
    }

    UpdateSandbox sandbox;
    Application one = sandbox.addStoreApplication(QStringLiteral("One"), QStringLiteral("111"),
                                                  QStringLiteral("1.0"), {});
    Application two = sandbox.addStoreApplication(QStringLiteral("Two"), QStringLiteral("222"),
                                                  QStringLiteral("3.0"), QStringLiteral("3.1"));
    Application stranger =
        sandbox.addStoreApplication(QStringLiteral("Stranger"), QStringLiteral("333"),
                                    QStringLiteral("5.0"), QStringLiteral("6.0"));
};

}  // namespace

TEST_F(StoreUpdates, ApplicationsWithoutAStoreRecordRunNoMas) {
    const Application loose = sandbox.addApplication(QStringLiteral("Loose"), {"1.0", "1"});

    EXPECT_TRUE(check({loose}).isEmpty());

    EXPECT_TRUE(sandbox.mas.invocations().isEmpty());
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info, QStringLiteral("No MAS apps found for update checking")));
}

TEST_F(StoreUpdates, KeepsTheUpdatesOfTheGivenApplicationsInTheStoresOrder) {
    const QList<MASUpdate> updates = check({one, two});

    EXPECT_EQ(storeIds(updates), (QStringList{QStringLiteral("222"), QStringLiteral("111")}));
    const MASUpdate& update = updates.value(1);
    EXPECT_EQ(update.id, QStringLiteral("111"));
    EXPECT_EQ(update.appName, QStringLiteral("One"));
    EXPECT_EQ(update.currentVersion, QStringLiteral("1.0"));
    EXPECT_EQ(update.availableVersion, QStringLiteral("2.0"));
}

TEST_F(StoreUpdates, LogsTheCheckAndEachUpdateFound) {
    check({one, two});

    EXPECT_TRUE(containsInOrder(
        sandbox.logLines(), {infoLine(QStringLiteral("Checking MAS updates for 2 apps")),
                             infoLine(QStringLiteral("Found MAS update for Two: 3.0 -> 3.1")),
                             infoLine(QStringLiteral("Found MAS update for One: 1.0 -> 2.0"))}));
    EXPECT_FALSE(
        sandbox.brew.capture.containsText(QStringLiteral("Found MAS update for Stranger")));
}

TEST_F(StoreUpdates, WithoutMasTheCheckWarnsAndFindsNothing) {
    sandbox.removeMas();

    EXPECT_TRUE(check({one, two}).isEmpty());

    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("MAS CLI not found - skipping MAS update check")));
}

TEST_F(StoreUpdates, AFailingMasIsLoggedAndThrown) {
    sandbox.mas.failCommand(QStringLiteral("outdated"), 1, QStringLiteral("Error: not signed in"),
                            {});

    try {
        check({one});
        ADD_FAILURE() << "the check did not fail";
    } catch (const MASError& error) {
        EXPECT_EQ(error.errorCase(), MASError::Case::commandFailed);
    }
    EXPECT_TRUE(anyLineStartsWith(
        sandbox.logLines(), errorLine(QStringLiteral("Failed to check MAS updates: MAS "
                                                     "command failed: Error: not signed in"))))
        << sandbox.logLines().join(u'\n').toStdString();
}

TEST_F(StoreUpdates, AnUpgradeInstallsTheNewVersionAndReportsItsProgress) {
    const MASUpdate update = pendingUpdateOfOne();
    QList<UpdateState> states;

    await(sandbox.updateService().updateViaMAS(update, recordStates(states)));

    EXPECT_EQ(UpdateSandbox::bundleVersion(one).shortVersion, QStringLiteral("2.0"));
    EXPECT_EQ(states, (QList<UpdateState>{UpdateState::installing(), UpdateState::completed()}));
    const QList<FakeMasState::Invocation> upgrades = sandbox.masRuns(QStringLiteral("upgrade"));
    ASSERT_EQ(upgrades.size(), 1);
    EXPECT_EQ(upgrades.first().arguments,
              (QStringList{QStringLiteral("upgrade"), QStringLiteral("111")}));
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("Starting MAS update for app ID: 111")),
                                 infoLine(QStringLiteral("Successfully updated MAS app: One"))}));
}

TEST_F(StoreUpdates, AFailedUpgradeIsLoggedAndThrown) {
    const MASUpdate update = pendingUpdateOfOne();
    sandbox.mas.failCommand(QStringLiteral("upgrade"), 1, {},
                            QStringLiteral("Error: purchase required"));
    QList<UpdateState> states;

    const std::optional<MASError> error = upgradeError(update, recordStates(states));

    ASSERT_TRUE(error);
    EXPECT_EQ(error->errorCase(), MASError::Case::commandFailed);
    EXPECT_EQ(states, (QList<UpdateState>{UpdateState::installing(),
                                          UpdateState::error(QStringLiteral("Update failed"))}));
    EXPECT_TRUE(anyLineStartsWith(
        sandbox.logLines(), errorLine(QStringLiteral("Failed to update MAS app One: MAS command "
                                                     "failed: Error: purchase required"))))
        << sandbox.logLines().join(u'\n').toStdString();
    EXPECT_EQ(UpdateSandbox::bundleVersion(one).shortVersion, QStringLiteral("1.0"));
}

TEST_F(StoreUpdates, WithoutMasAnUpgradeFailsAsNotInstalled) {
    const MASUpdate update = pendingUpdateOfOne();
    sandbox.removeMas();
    sandbox.brew.clock.advance(30);

    const std::optional<MASError> error = upgradeError(update);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->errorCase(), MASError::Case::notInstalled);
}

TEST_F(StoreUpdates, AfterASuccessfulUpgradeTheNextCheckAsksMasAgainAtOnce) {
    await(sandbox.updateService().updateViaMAS(pendingUpdateOfOne()));

    EXPECT_EQ(storeIds(check({one, two})), QStringList{QStringLiteral("222")});

    EXPECT_EQ(sandbox.masRuns(QStringLiteral("outdated")).size(), 2);
}

TEST_F(StoreUpdates, TwoUpgradesOfOneApplicationBothRunOneAfterTheOther) {
    const MASUpdate update = pendingUpdateOfOne();
    sandbox.mas.delayCommand(QStringLiteral("upgrade"), 300ms);
    const auto upgradeOnce = [&service = sandbox.updateService(), update] {
        return service.updateViaMAS(update);
    };
    const TaskHandle<> first = startTask(upgradeOnce);
    const TaskHandle<> second = startTask(upgradeOnce);

    EXPECT_NO_THROW(await(first.result()));
    EXPECT_NO_THROW(await(second.result()));

    const QList<FakeMasState::Invocation> upgrades = sandbox.masRuns(QStringLiteral("upgrade"));
    ASSERT_EQ(upgrades.size(), 2);
    EXPECT_LE(upgrades.at(0).end, upgrades.at(1).start);
    EXPECT_EQ(UpdateSandbox::bundleVersion(one).shortVersion, QStringLiteral("2.0"));
}
