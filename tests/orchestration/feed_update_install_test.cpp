#include "update_sandbox.h"

#include "core/async/cancellation_error.h"
#include "core/async/task_handle.h"

#include "support/await.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class FeedUpdateInstall : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(pendingUpdates().size(), 1); }

    // What the update service lists for the editor; within the life of the
    // first check, this is its cache.
    QList<SparkleUpdate> pendingUpdates() {
        return await(sandbox.updateService().checkSparkleUpdates({editor}));
    }

    void install() { await(sandbox.updateService().updateViaSparkle(editor)); }

    TaskHandle<> startInstall() {
        return startTask([&service = sandbox.updateService(), application = editor] {
            return service.updateViaSparkle(application);
        });
    }

    UpdateSandbox sandbox;
    Application editor =
        sandbox.addFeedApplication(QStringLiteral("Editor"), {"1.0", "100"}, {"2.0", "200"});
};

}  // namespace

TEST_F(FeedUpdateInstall, InstallsTheReleaseOfTheFeedOverTheBundle) {
    install();

    const BundleVersion version = UpdateSandbox::bundleVersion(editor);
    EXPECT_EQ(version.shortVersion, QStringLiteral("2.0"));
    EXPECT_EQ(version.buildVersion, QStringLiteral("200"));
    EXPECT_FALSE(sandbox.updateService().isSparkleUpdateRunning(editor.id));
    EXPECT_TRUE(containsInOrder(sandbox.logLines(),
                                {infoLine(QStringLiteral("Updating Editor via Sparkle")),
                                 infoLine(QStringLiteral("Successfully updated Editor"))}));
}

TEST_F(FeedUpdateInstall, ASuccessRemovesTheUpdateFromTheCache) {
    install();

    EXPECT_TRUE(pendingUpdates().isEmpty());
    EXPECT_EQ(sandbox.logCount(infoLine(QStringLiteral("Discovering Sparkle updates..."))), 1);
}

TEST_F(FeedUpdateInstall, ASecondUpdateDuringTheFirstReturnsWithAWarning) {
    const TaskHandle<> first = startInstall();
    ASSERT_TRUE(sandbox.updateService().isSparkleUpdateRunning(editor.id));

    EXPECT_NO_THROW(install());

    EXPECT_FALSE(first.isFinished());
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning,
        QStringLiteral("Sparkle update already in progress for application %1").arg(editor.id)));
    EXPECT_NO_THROW(await(first.result()));
    EXPECT_EQ(sandbox.logCount(infoLine(QStringLiteral("Updating Editor via Sparkle"))), 1);
    EXPECT_EQ(UpdateSandbox::bundleVersion(editor).shortVersion, QStringLiteral("2.0"));
}

TEST_F(FeedUpdateInstall, AFailedUpdateIsThrownAndStaysListed) {
    sandbox.publishFeed(editor, {"2.0", "200"}, FeedSigner::anotherKey);

    try {
        install();
        ADD_FAILURE() << "the update did not fail";
    } catch (const std::exception& error) {
        EXPECT_TRUE(QString::fromUtf8(error.what()).contains(QStringLiteral("signature")))
            << error.what();
    }

    EXPECT_EQ(UpdateSandbox::bundleVersion(editor).shortVersion, QStringLiteral("1.0"));
    EXPECT_FALSE(sandbox.updateService().isSparkleUpdateRunning(editor.id));
    EXPECT_EQ(pendingUpdates().size(), 1);
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("Successfully updated Editor")));
}

TEST_F(FeedUpdateInstall, ACancelledUpdateStaysListed) {
    const TaskHandle<> running = startInstall();
    ASSERT_TRUE(waitUntil([&] { return sandbox.sparkleService().isUpdating(editor.id); }));

    sandbox.sparkleService().clearCache();

    EXPECT_THROW(await(running.result()), CancellationError);
    EXPECT_EQ(UpdateSandbox::bundleVersion(editor).shortVersion, QStringLiteral("1.0"));
    EXPECT_EQ(pendingUpdates().size(), 1);
}
