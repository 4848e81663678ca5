#include "updates/skip_update_service.h"
#include "core/logger.h"
#include "core/records/application.h"
#include "core/settings_store.h"
#include "support/log_capture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace tarnel;

namespace {

const QString skippedVersionsKey = QStringLiteral("SkippedUpdateVersions");
const QString editor = QStringLiteral("com.example.Editor");
const QString viewer = QStringLiteral("com.example.Viewer");

class SkipUpdateServiceTest : public ::testing::Test {
protected:
    QString settingsPath() const { return directory.filePath(QStringLiteral("settings.json")); }

    // A new store and a new service over the same file, as at the next launch.
    SkipUpdateService& restart() {
        service.reset();
        settings = std::make_unique<SettingsStore>(settingsPath());
        logger = std::make_unique<Logger>(capture.sink(), *settings, directory.path());
        service = std::make_unique<SkipUpdateService>(*logger, *settings);
        return *service;
    }

    QByteArray storedValue() const {
        return SettingsStore(settingsPath()).dataValue(skippedVersionsKey).value_or("absent");
    }

    bool hasErrorStartingWith(const QString& start) const {
        for (const auto& [level, line] : capture.entries()) {
            if (level == LogLevel::error && line.startsWith(QStringLiteral("[ERROR] ") + start)) {
                return true;
            }
        }
        return false;
    }

    qsizetype countOf(const QString& message) const {
        return capture.lines().count(QStringLiteral("[INFO] ") + message);
    }

    QTemporaryDir directory;
    LogCapture capture;
    std::unique_ptr<SettingsStore> settings = std::make_unique<SettingsStore>(settingsPath());
    std::unique_ptr<Logger> logger;
    std::unique_ptr<SkipUpdateService> service;
};

}  // namespace

TEST_F(SkipUpdateServiceTest, SkipsNothingWithoutAStoredValue) {
    SkipUpdateService& skipped = restart();

    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("No skipped versions found in UserDefaults")));
    EXPECT_FALSE(skipped.isVersionSkipped(editor, QStringLiteral("1.0")));
    EXPECT_FALSE(skipped.isVersionSkipped(QString(), QString()));
    EXPECT_TRUE(skipped.getAllSkippedVersions().isEmpty());
}

TEST_F(SkipUpdateServiceTest, StartsEmptyAndLogsAnErrorWhenTheStoredValueIsNotJson) {
    settings->setData(skippedVersionsKey, "{\"com.example.Editor\": [\"1.0\"");

    SkipUpdateService& skipped = restart();

    EXPECT_TRUE(hasErrorStartingWith(QStringLiteral("Failed to decode skipped versions: ")));
    EXPECT_FALSE(skipped.isVersionSkipped(editor, QStringLiteral("1.0")));
    EXPECT_TRUE(skipped.getAllSkippedVersions().isEmpty());
}

TEST_F(SkipUpdateServiceTest, StartsEmptyAndLogsAnErrorWhenTheStoredValueHasAnotherShape) {
    const QList<std::pair<QByteArray, QString>> cases = {
        {"[\"1.0\"]", QStringLiteral("the value is not a JSON object")},
        {"{\"com.example.Editor\": \"1.0\"}",
         QStringLiteral("the value for \"com.example.Editor\" is not an array of strings")},
        {"{\"com.example.Editor\": [\"1.0\", 2]}",
         QStringLiteral("the value for \"com.example.Editor\" is not an array of strings")},
    };
    for (const auto& [value, description] : cases) {
        SCOPED_TRACE(value.toStdString());
        settings->setData(skippedVersionsKey, value);

        SkipUpdateService& skipped = restart();

        EXPECT_TRUE(capture.contains(
            LogLevel::error, QStringLiteral("Failed to decode skipped versions: ") + description));
        EXPECT_TRUE(skipped.getAllSkippedVersions().isEmpty());
        EXPECT_FALSE(skipped.isVersionSkipped(editor, QStringLiteral("1.0")));
    }
}

TEST_F(SkipUpdateServiceTest, LeavesAnUnreadableValueInTheStoreUntilTheNextSave) {
    settings->setData(skippedVersionsKey, "not json");

    SkipUpdateService& skipped = restart();
    EXPECT_EQ(storedValue(), "not json");

    skipped.skipVersion(editor, QStringLiteral("2.0"));
    EXPECT_EQ(storedValue(), "{\"com.example.Editor\":[\"2.0\"]}");
}

TEST_F(SkipUpdateServiceTest, ReadsAStoredValueOfAnotherTypeAsAbsent) {
    settings->setString(skippedVersionsKey, QStringLiteral("{\"com.example.Editor\":[\"1.0\"]}"));

    SkipUpdateService& skipped = restart();

    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("No skipped versions found in UserDefaults")));
    EXPECT_TRUE(skipped.getAllSkippedVersions().isEmpty());
}

TEST_F(SkipUpdateServiceTest, LoadsTheStoredVersionsAndLogsTheirCounts) {
    settings->setData(skippedVersionsKey,
                      "{\"com.example.Editor\":[\"1.0\",\"2.0\"],\"com.example.Viewer\":[\"3\"]}");

    SkipUpdateService& skipped = restart();

    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("Loaded 3 skipped versions for 2 applications")));
    const SkipUpdateService::SkippedVersions expected = {
        {editor, {QStringLiteral("1.0"), QStringLiteral("2.0")}},
        {viewer, {QStringLiteral("3")}},
    };
    EXPECT_EQ(skipped.getAllSkippedVersions(), expected);
}

TEST_F(SkipUpdateServiceTest, HidesOnlyTheExactTextOfASkippedVersion) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));

    EXPECT_TRUE(skipped.isVersionSkipped(editor, QStringLiteral("2.0")));
    EXPECT_FALSE(skipped.isVersionSkipped(editor, QStringLiteral("2.0.1")));
    EXPECT_FALSE(skipped.isVersionSkipped(editor, QStringLiteral("2.0 ")));
    EXPECT_FALSE(skipped.isVersionSkipped(editor, QStringLiteral(" 2.0")));
    EXPECT_FALSE(skipped.isVersionSkipped(viewer, QStringLiteral("2.0")));
}

TEST_F(SkipUpdateServiceTest, KeepsOneEntryWhenTheSameVersionIsSkippedTwice) {
    SkipUpdateService& skipped = restart();

    skipped.skipVersion(editor, QStringLiteral("2.0"));
    skipped.skipVersion(editor, QStringLiteral("2.0"));

    EXPECT_EQ(skipped.getAllSkippedVersions().value(editor).size(), 1);
    EXPECT_EQ(countOf(QStringLiteral("Saved 1 skipped versions for 1 applications")), 2);
    EXPECT_EQ(countOf(QStringLiteral("Skipped version 2.0 for application com.example.Editor")), 2);
}

TEST_F(SkipUpdateServiceTest, KeepsSkippedVersionsAcrossARestart) {
    restart().skipVersion(editor, QStringLiteral("2.0"));
    service->skipVersion(viewer, QStringLiteral("5.1"));

    SkipUpdateService& skipped = restart();

    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("Loaded 2 skipped versions for 2 applications")));
    EXPECT_TRUE(skipped.isVersionSkipped(editor, QStringLiteral("2.0")));
    EXPECT_TRUE(skipped.isVersionSkipped(viewer, QStringLiteral("5.1")));
}

TEST_F(SkipUpdateServiceTest, StoresAnObjectOfVersionArraysKeyedByBundleIdentifier) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));
    skipped.skipVersion(editor, QStringLiteral("1.5"));

    const QJsonObject stored = QJsonDocument::fromJson(storedValue()).object();

    EXPECT_EQ(stored.keys(), QStringList{editor});
    EXPECT_EQ(stored.value(editor).toVariant().toStringList(),
              (QStringList{QStringLiteral("1.5"), QStringLiteral("2.0")}));
}

TEST_F(SkipUpdateServiceTest, LeavesAnEmptyObjectInTheStoreAfterClearing) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));

    skipped.clearAllSkippedVersions();

    EXPECT_EQ(storedValue(), "{}");
    EXPECT_TRUE(skipped.getAllSkippedVersions().isEmpty());
    EXPECT_FALSE(skipped.isVersionSkipped(editor, QStringLiteral("2.0")));
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Clearing ALL skipped versions")));
    EXPECT_TRUE(capture.contains(LogLevel::info, QStringLiteral("Cleared all skipped versions")));
}

TEST_F(SkipUpdateServiceTest, LoadsNothingAfterClearingAndRestarting) {
    restart().skipVersion(editor, QStringLiteral("2.0"));
    service->clearAllSkippedVersions();

    SkipUpdateService& skipped = restart();

    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("Loaded 0 skipped versions for 0 applications")));
    EXPECT_TRUE(skipped.getAllSkippedVersions().isEmpty());
}

TEST_F(SkipUpdateServiceTest, SharesSkippedVersionsBetweenApplicationsWithOneBundleIdentifier) {
    Application stable;
    stable.id = QStringLiteral("first");
    stable.name = QStringLiteral("Editor");
    stable.bundlePath = QStringLiteral("/Applications/Editor.app");
    stable.bundleIdentifier = editor;
    Application copy = stable;
    copy.id = QStringLiteral("second");
    copy.name = QStringLiteral("Editor Copy");
    copy.bundlePath = QStringLiteral("/Applications/Editor Copy.app");

    SkipUpdateService& skipped = restart();
    skipped.skipVersion(stable.bundleIdentifier, QStringLiteral("2.0"));

    EXPECT_TRUE(skipped.isVersionSkipped(copy.bundleIdentifier, QStringLiteral("2.0")));
    EXPECT_EQ(skipped.getAllSkippedVersions().size(), 1);
}

TEST_F(SkipUpdateServiceTest, LogsTheHeldSetAndTheAnswerWhenCheckingAKnownBundle) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));
    skipped.skipVersion(editor, QStringLiteral("1.0"));

    skipped.isVersionSkipped(editor, QStringLiteral("3.0"));
    skipped.isVersionSkipped(editor, QStringLiteral("1.0"));

    EXPECT_TRUE(capture.contains(
        LogLevel::info, QStringLiteral("App com.example.Editor has 2 skipped versions: "
                                       "[\"1.0\", \"2.0\"]. Checking version 3.0: false")));
    EXPECT_TRUE(capture.contains(LogLevel::info,
                                 QStringLiteral("App com.example.Editor has 2 skipped versions: "
                                                "[\"1.0\", \"2.0\"]. Checking version 1.0: true")));
}

TEST_F(SkipUpdateServiceTest, LogsNothingWhenCheckingAnUnknownBundle) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));
    capture.clear();

    EXPECT_FALSE(skipped.isVersionSkipped(viewer, QStringLiteral("2.0")));
    EXPECT_TRUE(capture.entries().isEmpty());
}

TEST_F(SkipUpdateServiceTest, LogsTheNumberOfApplicationsWhenAllAreRetrieved) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));
    skipped.skipVersion(viewer, QStringLiteral("1.0"));
    skipped.skipVersion(viewer, QStringLiteral("1.1"));

    skipped.getAllSkippedVersions();

    EXPECT_TRUE(capture.contains(
        LogLevel::info, QStringLiteral("Retrieved all skipped versions for 2 applications")));
}

TEST_F(SkipUpdateServiceTest, LogsTheTotalsAndEachApplicationWhenSaving) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));
    skipped.skipVersion(viewer, QStringLiteral("1.0"));
    capture.clear();

    skipped.skipVersion(viewer, QStringLiteral("1.1"));

    EXPECT_EQ(capture.lines(),
              (QStringList{
                  QStringLiteral("[INFO] Saved 3 skipped versions for 2 applications"),
                  QStringLiteral("[INFO] Saved for app com.example.Editor: [\"2.0\"]"),
                  QStringLiteral("[INFO] Saved for app com.example.Viewer: [\"1.0\", \"1.1\"]"),
                  QStringLiteral("[INFO] Skipped version 1.1 for application com.example.Viewer"),
              }));
}

TEST_F(SkipUpdateServiceTest, KeepsTextThatIsNotValidUnicodeInMemoryWithoutSavingIt) {
    SkipUpdateService& skipped = restart();
    skipped.skipVersion(editor, QStringLiteral("2.0"));
    const QString brokenVersion = QStringLiteral("3.0") + QChar(0xD800);

    skipped.skipVersion(editor, brokenVersion);

    EXPECT_TRUE(capture.contains(LogLevel::error,
                                 QStringLiteral("Failed to encode skipped versions: the entry of "
                                                "com.example.Editor holds text that is not valid "
                                                "Unicode")));
    EXPECT_TRUE(skipped.isVersionSkipped(editor, brokenVersion));
    EXPECT_EQ(storedValue(), "{\"com.example.Editor\":[\"2.0\"]}");
}
