#include "sandbox_fixture.h"

#include <QJsonArray>

// `updates` end to end: the sandbox's `brew`, `mas` and feeds each have an
// update pending, and the real tarnel-cli lists them.
namespace {

class SandboxUpdates : public SandboxFixture {
protected:
    // The updates of one list in the JSON form, keyed by `key` of each record.
    QJsonObject byKey(const QJsonArray& updates, const QString& key) const {
        QJsonObject keyed;
        for (const QJsonValue& update : updates) {
            keyed.insert(update[key].toString(), update);
        }
        return keyed;
    }
};

TEST_F(SandboxUpdates, TheTableListsEachSourcesUpdatesWithTheirVersions) {
    const CliResult result = cli({QStringLiteral("updates")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output,
              "Application  Source         Update\n"
              "MacDown      Homebrew       0.0 -> 0.7.2\n"
              "Rectangle    Homebrew       0.85 -> 0.98\n"
              "Sequel Ace   Homebrew       3.4.1,3039 -> 3.5.0,20029\n"
              "Ice          Sparkle        0.11.12.1112 -> 0.11.13.1113\n"
              "Itsycal      Sparkle        0.15.5.1551 -> 0.15.6.1560\n"
              "Hidden Bar   Mac App Store  1.0 -> 1.9\n"
              "\n"
              "6 updates: 3 Homebrew, 2 Sparkle, 1 Mac App Store\n");
}

TEST_F(SandboxUpdates, TheTableSaysSoWhenNothingIsPending) {
    setSetting(QStringLiteral("enableMASSupport"), false);
    for (const QString& name :
         {u"MacDown"_qs, u"Rectangle"_qs, u"Sequel Ace"_qs, u"Ice"_qs, u"Itsycal"_qs}) {
        ASSERT_EQ(cli({QStringLiteral("skip"), name}).exitCode, 0) << name.toStdString();
    }

    const CliResult result = cli({QStringLiteral("updates")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, "No updates are pending.\n");
}

TEST_F(SandboxUpdates, JsonGivesTheThreeListsWithTheRecordsFieldNames) {
    const QJsonObject lists =
        jsonOf({QStringLiteral("updates"), QStringLiteral("--json")}).object();

    EXPECT_EQ(lists.keys(),
              (QStringList{u"brewUpdates"_qs, u"masUpdates"_qs, u"sparkleUpdates"_qs}));
    const QJsonObject rectangle =
        byKey(lists[u"brewUpdates"_qs].toArray(), u"caskName"_qs)[u"rectangle"_qs].toObject();
    EXPECT_EQ(rectangle.keys(),
              (QStringList{u"applicationId"_qs, u"availableVersion"_qs, u"bundleIdentifier"_qs,
                           u"caskName"_qs, u"currentVersion"_qs, u"id"_qs, u"updateType"_qs}));
    EXPECT_EQ(rectangle[u"bundleIdentifier"_qs], u"com.knollsoft.Rectangle"_qs);
    EXPECT_EQ(rectangle[u"currentVersion"_qs], u"0.85"_qs);
    EXPECT_EQ(rectangle[u"availableVersion"_qs], u"0.98"_qs);
    EXPECT_EQ(rectangle[u"updateType"_qs], u"Cask Update"_qs);

    const QJsonObject hiddenBar =
        byKey(lists[u"masUpdates"_qs].toArray(), u"appId"_qs)[u"1452453066"_qs].toObject();
    EXPECT_EQ(hiddenBar.keys(), (QStringList{u"appId"_qs, u"appName"_qs, u"availableVersion"_qs,
                                             u"currentVersion"_qs, u"id"_qs}));
    EXPECT_EQ(hiddenBar[u"appName"_qs], u"Hidden Bar"_qs);
    EXPECT_EQ(hiddenBar[u"currentVersion"_qs], u"1.0"_qs);
    EXPECT_EQ(hiddenBar[u"availableVersion"_qs], u"1.9"_qs);
}

TEST_F(SandboxUpdates, JsonGivesAFeedUpdateWithItsReleaseFacts) {
    const QJsonObject lists =
        jsonOf({QStringLiteral("updates"), QStringLiteral("--json")}).object();

    const QJsonObject itsycal = byKey(lists[u"sparkleUpdates"_qs].toArray(),
                                      u"bundleIdentifier"_qs)[u"com.mowglii.ItsycalApp"_qs]
                                    .toObject();
    EXPECT_EQ(
        itsycal.keys(),
        (QStringList{u"applicationId"_qs, u"availableVersion"_qs, u"bundleIdentifier"_qs,
                     u"currentVersion"_qs, u"downloadURL"_qs, u"feedURL"_qs, u"fileSize"_qs,
                     u"id"_qs, u"publishedDate"_qs, u"releaseNotes"_qs, u"requiresRestart"_qs}));
    EXPECT_EQ(itsycal[u"currentVersion"_qs], u"0.15.5.1551"_qs);
    EXPECT_EQ(itsycal[u"availableVersion"_qs], u"0.15.6.1560"_qs);
    EXPECT_TRUE(itsycal[u"downloadURL"_qs].toString().endsWith(u"/feeds/itsycal-0.15.6.zip"_qs));
    EXPECT_TRUE(itsycal[u"publishedDate"_qs].toString().endsWith(u'Z'));
    EXPECT_TRUE(itsycal[u"fileSize"_qs].isDouble());
}

TEST_F(SandboxUpdates, AFeedWhoseNewestIsOlderHasNoUpdate) {
    const QJsonObject lists =
        jsonOf({QStringLiteral("updates"), QStringLiteral("--json")}).object();

    const QJsonObject feeds = byKey(lists[u"sparkleUpdates"_qs].toArray(), u"bundleIdentifier"_qs);
    EXPECT_FALSE(feeds.contains(u"com.MrKai77.Loop"_qs)) << QJsonDocument(feeds).toJson().data();
    EXPECT_EQ(feeds.size(), 2);
}

TEST_F(SandboxUpdates, TheSkippedReleaseOfAFeedIsHiddenUntilTheSkipsAreCleared) {
    const CliResult result = cli({QStringLiteral("updates"), QStringLiteral("--verbose")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(" v1.0.1.5930 - version was previously skipped\n"))
        << result.errors.toStdString();
    EXPECT_FALSE(result.output.contains("Hammerspoon")) << result.output.toStdString();
    clearSkippedVersions();
    const QJsonObject hammerspoon =
        byKey(jsonOf({QStringLiteral("updates"), QStringLiteral("--json")})
                  .object()[u"sparkleUpdates"_qs]
                  .toArray(),
              u"bundleIdentifier"_qs)[u"org.hammerspoon.Hammerspoon"_qs]
            .toObject();
    EXPECT_EQ(hammerspoon[u"currentVersion"_qs], u"1.0.0.5922"_qs);
    EXPECT_EQ(hammerspoon[u"availableVersion"_qs], u"1.0.1.5930"_qs);
}

TEST_F(SandboxUpdates, AnHttpFeedIsNeverAsked) {
    const CliResult result = cli({QStringLiteral("updates"), QStringLiteral("--verbose")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(
        "[WARNING] Skipping IINA - uses HTTP feed (not HTTPS), blocked by ATS policy"));
    EXPECT_FALSE(result.output.contains("IINA"));
}

TEST_F(SandboxUpdates, WithTheStoreSwitchedOffNoStoreUpdateIsListed) {
    setSetting(QStringLiteral("enableMASSupport"), false);

    const QJsonObject lists =
        jsonOf({QStringLiteral("updates"), QStringLiteral("--json")}).object();

    EXPECT_TRUE(lists[u"masUpdates"_qs].toArray().isEmpty());
    EXPECT_EQ(lists[u"brewUpdates"_qs].toArray().size(), 3);
}

TEST_F(SandboxUpdates, PipedItPrintsNoProgress) {
    const CliResult result = cli({QStringLiteral("updates")});

    ASSERT_EQ(result.exitCode, 0);
    // The progress bar draws with carriage returns.
    EXPECT_FALSE(result.errors.contains('\r')) << result.errors.toStdString();
}

TEST_F(SandboxUpdates, OnATerminalItDrawsTheDiscoveryAndClearsItBeforeTheResult) {
    const CliResult result = cliOnTerminal({QStringLiteral("updates")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_TRUE(result.errors.startsWith("\rDiscovering")) << result.errors.toStdString();
    // The bar's line is blanked and the cursor left at its start.
    EXPECT_TRUE(result.errors.endsWith(QByteArray(56, ' ') + '\r')) << result.errors.toStdString();
    EXPECT_TRUE(result.output.startsWith("Application  Source")) << result.output.toStdString();
}

TEST_F(SandboxUpdates, AFailingUpdateSearchFailsWithItsDescription) {
    setBrewBehaviour(QStringLiteral("outdated"),
                     QJsonObject{{u"exitStatus"_qs, 2}, {u"standardError"_qs, u"Error: boom"_qs}});

    const CliResult result = cli({QStringLiteral("updates")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.contains(
        "tarnel-cli updates: discovery failed: Homebrew command failed:\\n\\nError: boom\n"))
        << result.errors.toStdString();
}

}  // namespace
