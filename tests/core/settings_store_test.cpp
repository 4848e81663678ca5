#include "core/settings_store.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class SettingsStoreTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("settings.json"));

    void writeFile(const QByteArray& json) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(json);
    }
};

}  // namespace

TEST_F(SettingsStoreTest, AbsentKeysReadAsFalseAndAbsent) {
    SettingsStore store(path);
    EXPECT_FALSE(store.boolValue(QStringLiteral("enableMASSupport")));
    EXPECT_FALSE(store.stringValue(QStringLiteral("selectedTheme")).has_value());
    EXPECT_FALSE(store.stringListValue(QStringLiteral("excludedApplications")).has_value());
    EXPECT_FALSE(store.dataValue(QStringLiteral("SkippedUpdateVersions")).has_value());
    EXPECT_FALSE(store.contains(QStringLiteral("enableMASSupport")));
}

TEST_F(SettingsStoreTest, EveryTypeSurvivesARestart) {
    {
        SettingsStore store(path);
        store.setBool(QStringLiteral("hideMASApps"), true);
        store.setString(QStringLiteral("selectedTheme"), QStringLiteral("Dark"));
        store.setStringList(QStringLiteral("excludedApplications"), {QStringLiteral("com.a")});
        store.setData(QStringLiteral("SkippedUpdateVersions"), QByteArray("{\"a\":[\"1\"]}"));
    }
    SettingsStore reopened(path);
    EXPECT_TRUE(reopened.boolValue(QStringLiteral("hideMASApps")));
    EXPECT_EQ(reopened.stringValue(QStringLiteral("selectedTheme")), QStringLiteral("Dark"));
    EXPECT_EQ(reopened.stringListValue(QStringLiteral("excludedApplications")),
              QStringList{QStringLiteral("com.a")});
    EXPECT_EQ(reopened.dataValue(QStringLiteral("SkippedUpdateVersions")),
              QByteArray("{\"a\":[\"1\"]}"));
}

TEST_F(SettingsStoreTest, AOneEntryListStaysAList) {
    SettingsStore(path).setStringList(QStringLiteral("excludedApplications"),
                                      {QStringLiteral("x")});
    EXPECT_EQ(SettingsStore(path).stringListValue(QStringLiteral("excludedApplications")),
              QStringList{QStringLiteral("x")});
}

TEST_F(SettingsStoreTest, AnEmptyListStaysAnEmptyList) {
    SettingsStore(path).setStringList(QStringLiteral("excludedApplications"), {});
    EXPECT_EQ(SettingsStore(path).stringListValue(QStringLiteral("excludedApplications")),
              QStringList{});
}

TEST_F(SettingsStoreTest, ValuesOfTheWrongTypeReadAsAbsentOrFalse) {
    writeFile(R"({"excludedApplications": "com.a", "mixed": ["a", 1], "flag": ["yes"],
                  "SkippedUpdateVersions": "not data", "selectedTheme": ["Dark"]})");
    SettingsStore store(path);
    EXPECT_FALSE(store.stringListValue(QStringLiteral("excludedApplications")).has_value());
    EXPECT_FALSE(store.stringListValue(QStringLiteral("mixed")).has_value());
    EXPECT_FALSE(store.boolValue(QStringLiteral("flag")));
    EXPECT_FALSE(store.dataValue(QStringLiteral("SkippedUpdateVersions")).has_value());
    EXPECT_FALSE(store.stringValue(QStringLiteral("selectedTheme")).has_value());
}

TEST_F(SettingsStoreTest, BooleansReadFromNumbersAndTextLikeTheDefaultsDo) {
    writeFile(R"({"one": 1, "zero": 0, "yes": "YES", "true": "true", "no": "no", "seven": "7"})");
    SettingsStore store(path);
    EXPECT_TRUE(store.boolValue(QStringLiteral("one")));
    EXPECT_FALSE(store.boolValue(QStringLiteral("zero")));
    EXPECT_TRUE(store.boolValue(QStringLiteral("yes")));
    EXPECT_TRUE(store.boolValue(QStringLiteral("true")));
    EXPECT_FALSE(store.boolValue(QStringLiteral("no")));
    EXPECT_TRUE(store.boolValue(QStringLiteral("seven")));
}

TEST_F(SettingsStoreTest, ABrokenFileReadsAsEmptyAndIsReplacedOnTheNextWrite) {
    writeFile("{ this is not json");
    SettingsStore store(path);
    EXPECT_FALSE(store.boolValue(QStringLiteral("enableFileLogging")));
    store.setBool(QStringLiteral("enableFileLogging"), true);
    EXPECT_TRUE(SettingsStore(path).boolValue(QStringLiteral("enableFileLogging")));
}

TEST_F(SettingsStoreTest, AnUnparsableFileIsNamedReadsAsEmptyAndIsLeftAsItIs) {
    const QByteArray broken = R"({"enableFileLogging": true, "hideMASApps": tru)";
    writeFile(broken);
    {
        SettingsStore store(path);
        EXPECT_EQ(store.unparsableFile(), path);
        EXPECT_FALSE(store.boolValue(QStringLiteral("enableFileLogging")));
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), broken);
}

TEST_F(SettingsStoreTest, AReadableFileIsNotNamedUnparsable) {
    writeFile(R"({"hideMASApps": true})");
    EXPECT_FALSE(SettingsStore(path).unparsableFile().has_value());
}

TEST_F(SettingsStoreTest, RemovedKeysReadAsAbsent) {
    SettingsStore store(path);
    store.setBool(QStringLiteral("hideExcludedApps"), true);
    store.remove(QStringLiteral("hideExcludedApps"));
    EXPECT_FALSE(SettingsStore(path).contains(QStringLiteral("hideExcludedApps")));
}
