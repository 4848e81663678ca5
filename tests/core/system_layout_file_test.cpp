#include "core/system_layout_file.h"
#include "support/scoped_variable.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace tarnel;

TEST(SystemLayout, ProductionValuesAreTheRealMachines) {
    const SystemLayout layout = SystemLayout::production();
    EXPECT_EQ(layout.applicationsDirectory, QStringLiteral("/Applications"));
    EXPECT_EQ(layout.brewCandidates,
              (QStringList{u"/opt/homebrew/bin/brew"_qs, u"/usr/local/bin/brew"_qs}));
    EXPECT_EQ(layout.masCandidates,
              (QStringList{u"/opt/homebrew/bin/mas"_qs, u"/usr/local/bin/mas"_qs}));
    EXPECT_EQ(layout.catalogueUrl.scheme(), QStringLiteral("https"));
    EXPECT_EQ(layout.catalogueUrl.path(), QStringLiteral("/api/cask.json"));
    EXPECT_TRUE(layout.extraTrustedCertificates.isEmpty());
    EXPECT_TRUE(layout.settingsFile.isEmpty());
}

TEST(SystemLayout, ProductionTemporaryFolderIsTheUsersRuntimeFolder) {
    const ScopedVariable runtime("XDG_RUNTIME_DIR", "/run/user/4242");
    EXPECT_EQ(SystemLayout::production().temporaryDirectory, QStringLiteral("/run/user/4242"));
}

TEST(SystemLayout, WithoutARuntimeFolderTheTemporaryFolderIsOneOfOurOwn) {
    const ScopedVariable runtime("XDG_RUNTIME_DIR");
    EXPECT_EQ(SystemLayout::production().temporaryDirectory,
              QDir::tempPath() + QStringLiteral("/tarnel-%1").arg(geteuid()));
}

TEST(SystemLayout, ARelativeRuntimeFolderIsIgnored) {
    const ScopedVariable runtime("XDG_RUNTIME_DIR", "run/user/4242");
    EXPECT_EQ(SystemLayout::production().temporaryDirectory,
              QDir::tempPath() + QStringLiteral("/tarnel-%1").arg(geteuid()));
}

TEST(SystemLayoutFile, RoundTripsAndResolvesRelativePathsFromItsFolder) {
    QTemporaryDir folder;
    SystemLayout layout = SystemLayout::production();
    layout.applicationsDirectory = QStringLiteral("Applications");
    layout.brewCandidates = {QStringLiteral("bin/brew"), QStringLiteral("/nowhere/brew")};
    layout.catalogueUrl = QUrl(QStringLiteral("https://127.0.0.1:4443/api/cask.json"));
    layout.settingsFile = QStringLiteral("settings.json");
    layout.preferredLanguages = {QStringLiteral("de-CH")};
    const QString path = folder.filePath(QStringLiteral("layout.json"));
    writeSystemLayoutFile(layout, path);

    const SystemLayout read = readSystemLayoutFile(path);
    EXPECT_EQ(read.applicationsDirectory, folder.filePath(QStringLiteral("Applications")));
    EXPECT_EQ(read.brewCandidates,
              (QStringList{folder.filePath(QStringLiteral("bin/brew")), u"/nowhere/brew"_qs}));
    EXPECT_EQ(read.catalogueUrl, layout.catalogueUrl);
    EXPECT_EQ(read.settingsFile, folder.filePath(QStringLiteral("settings.json")));
    EXPECT_EQ(read.preferredLanguages, QStringList{QStringLiteral("de-CH")});
}

TEST(SystemLayoutFile, AMissingOrBrokenFileIsAClearError) {
    QTemporaryDir folder;
    EXPECT_THROW(readSystemLayoutFile(folder.filePath(QStringLiteral("absent.json"))),
                 SystemLayoutFileError);
    QFile broken(folder.filePath(QStringLiteral("broken.json")));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("[1, 2");
    broken.close();
    try {
        readSystemLayoutFile(broken.fileName());
        FAIL() << "no error";
    } catch (const SystemLayoutFileError& error) {
        EXPECT_NE(std::string(error.what()).find("broken.json"), std::string::npos);
    }
}

TEST(SystemLayoutFile, KeysLeftOutKeepTheProductionValues) {
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("layout.json")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"applicationsDirectory": "Apps"})");
    file.close();
    const SystemLayout read = readSystemLayoutFile(file.fileName());
    EXPECT_EQ(read.applicationsDirectory, folder.filePath(QStringLiteral("Apps")));
    EXPECT_EQ(read.brewCandidates, SystemLayout::production().brewCandidates);
    EXPECT_EQ(read.catalogueUrl, SystemLayout::production().catalogueUrl);
}
