#include "sandbox_fixture.h"

// `skip` end to end: a skipped version stops showing in the next search; the
// store's updates cannot be skipped.
namespace {

using SandboxSkip = SandboxFixture;

TEST_F(SandboxSkip, ASkippedFeedVersionIsNoLongerListed) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Itsycal")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Skipped Itsycal 0.15.6.1560 from Sparkle\n");
    const QStringList feeds = pendingUpdates(u"sparkleUpdates"_qs, u"bundleIdentifier"_qs);
    EXPECT_FALSE(feeds.contains(u"com.mowglii.ItsycalApp"_qs));
    EXPECT_EQ(feeds, QStringList{u"com.jordanbaird.Ice"_qs});
}

TEST_F(SandboxSkip, ASkippedHomebrewVersionIsNoLongerListed) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Rectangle")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "Skipped Rectangle 0.98 from Homebrew\n");
    QStringList casks = pendingUpdates(u"brewUpdates"_qs, u"caskName"_qs);
    casks.sort();
    EXPECT_EQ(casks, (QStringList{u"macdown"_qs, u"sequel-ace"_qs}));
}

TEST_F(SandboxSkip, AStoreUpdateCannotBeSkipped) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Hidden Bar")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.endsWith(
        "tarnel-cli skip: the pending update of Hidden Bar comes from the Mac App Store, "
        "whose updates cannot be skipped\n"))
        << result.errors.toStdString();
    EXPECT_EQ(pendingUpdates(u"masUpdates"_qs, u"appId"_qs), QStringList{u"1452453066"_qs});
}

TEST_F(SandboxSkip, AnApplicationWithNothingPendingHasNothingToSkip) {
    const CliResult result = cli({QStringLiteral("skip"), QStringLiteral("Loop")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errors.endsWith("tarnel-cli skip: no update is pending for Loop\n"))
        << result.errors.toStdString();
}

}  // namespace
