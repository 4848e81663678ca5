#include "core/system_layout_file.h"
#include "support/scoped_variable.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace tarnel;

namespace {

// A layout that names every key, with paths relative to its folder.
QJsonObject completeLayout() {
    return QJsonObject{
        {u"applicationsDirectory"_qs, u"Applications"_qs},
        {u"brewCandidates"_qs, QJsonArray{u"opt/homebrew/bin/brew"_qs, u"/nowhere/brew"_qs}},
        {u"masCandidates"_qs, QJsonArray{u"opt/homebrew/bin/mas"_qs}},
        {u"catalogueUrl"_qs, u"https://127.0.0.1:4443/api/cask.json"_qs},
        {u"homeDirectory"_qs, u"home"_qs},
        {u"temporaryDirectory"_qs, u"tmp"_qs},
        {u"desktopDirectory"_qs, u"home/Desktop"_qs},
        {u"extraTrustedCertificates"_qs, u"ca/authority.pem"_qs},
        {u"settingsFile"_qs, u"settings.json"_qs},
        {u"askpassDialogProgram"_qs, u"bin/dialog"_qs},
        {u"dataDirectory"_qs, u"home/data"_qs},
        {u"preferredLanguages"_qs, QJsonArray{u"de-CH"_qs}},
        {u"systemVersion"_qs, u"14.6.1"_qs},
    };
}

class SystemLayoutFileTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("layout.json"));

    void write(const QByteArray& bytes) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    void write(const QJsonObject& object) const { write(QJsonDocument(object).toJson()); }
    QJsonObject writtenObject() const {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QJsonDocument::fromJson(file.readAll()).object();
    }
    // The error that reading the file gives, or "no error".
    std::string readError() const {
        try {
            readSystemLayoutFile(path);
        } catch (const SystemLayoutFileError& error) {
            return error.what();
        }
        return "no error";
    }
    QString inFolder(const QString& relative) const { return folder.filePath(relative); }
};

bool contains(const std::string& text, const char* fragment) {
    return text.find(fragment) != std::string::npos;
}

}  // namespace

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
    EXPECT_EQ(layout.networkIdleTimeout, std::chrono::seconds(60));
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

TEST_F(SystemLayoutFileTest, RoundTripsAndResolvesRelativePathsFromItsFolder) {
    SystemLayout layout = SystemLayout::production();
    layout.applicationsDirectory = QStringLiteral("Applications");
    layout.brewCandidates = {QStringLiteral("bin/brew"), QStringLiteral("/nowhere/brew")};
    layout.catalogueUrl = QUrl(QStringLiteral("https://127.0.0.1:4443/api/cask.json"));
    layout.settingsFile = QStringLiteral("settings.json");
    layout.preferredLanguages = {QStringLiteral("de-CH")};
    writeSystemLayoutFile(layout, path);

    const SystemLayout read = readSystemLayoutFile(path);
    EXPECT_EQ(read.applicationsDirectory, inFolder(QStringLiteral("Applications")));
    EXPECT_EQ(read.brewCandidates,
              (QStringList{inFolder(QStringLiteral("bin/brew")), u"/nowhere/brew"_qs}));
    EXPECT_EQ(read.catalogueUrl, layout.catalogueUrl);
    EXPECT_EQ(read.settingsFile, inFolder(QStringLiteral("settings.json")));
    EXPECT_EQ(read.preferredLanguages, QStringList{QStringLiteral("de-CH")});
}

TEST_F(SystemLayoutFileTest, ReadsEveryKeyOfACompleteFile) {
    write(completeLayout());
    const SystemLayout read = readSystemLayoutFile(path);
    EXPECT_EQ(read.applicationsDirectory, inFolder(QStringLiteral("Applications")));
    EXPECT_EQ(read.brewCandidates, (QStringList{inFolder(QStringLiteral("opt/homebrew/bin/brew")),
                                                u"/nowhere/brew"_qs}));
    EXPECT_EQ(read.masCandidates, QStringList{inFolder(QStringLiteral("opt/homebrew/bin/mas"))});
    EXPECT_EQ(read.catalogueUrl, QUrl(QStringLiteral("https://127.0.0.1:4443/api/cask.json")));
    EXPECT_EQ(read.homeDirectory, inFolder(QStringLiteral("home")));
    EXPECT_EQ(read.temporaryDirectory, inFolder(QStringLiteral("tmp")));
    EXPECT_EQ(read.desktopDirectory, inFolder(QStringLiteral("home/Desktop")));
    EXPECT_EQ(read.extraTrustedCertificates, inFolder(QStringLiteral("ca/authority.pem")));
    EXPECT_EQ(read.settingsFile, inFolder(QStringLiteral("settings.json")));
    EXPECT_EQ(read.askpassDialogProgram, inFolder(QStringLiteral("bin/dialog")));
    EXPECT_EQ(read.dataDirectory, inFolder(QStringLiteral("home/data")));
    EXPECT_EQ(read.preferredLanguages, QStringList{QStringLiteral("de-CH")});
    EXPECT_EQ(read.systemVersion, QStringLiteral("14.6.1"));
}

TEST_F(SystemLayoutFileTest, ALayoutWithoutSystemVersionTakesTheRunningOne) {
    QJsonObject layout = completeLayout();
    layout.remove(QStringLiteral("systemVersion"));
    write(layout);
    EXPECT_EQ(readSystemLayoutFile(path).systemVersion, SystemLayout::runningSystemVersion());
}

TEST_F(SystemLayoutFileTest, AMissingOrBrokenFileIsAClearError) {
    EXPECT_THROW(readSystemLayoutFile(inFolder(QStringLiteral("absent.json"))),
                 SystemLayoutFileError);
    write("[1, 2");
    const std::string error = readError();
    EXPECT_TRUE(contains(error, "layout.json is not valid JSON")) << error;
}

TEST_F(SystemLayoutFileTest, AnEmptyObjectIsRefusedNamingEveryPlace) {
    write("{}");
    const std::string error = readError();
    EXPECT_TRUE(contains(error,
                         "layout.json does not name applicationsDirectory, brewCandidates, "
                         "masCandidates, catalogueUrl, homeDirectory, temporaryDirectory, "
                         "desktopDirectory, extraTrustedCertificates, settingsFile, "
                         "askpassDialogProgram, dataDirectory;"))
        << error;
}

TEST_F(SystemLayoutFileTest, ALayoutThatLeavesOutOnePlaceIsRefusedNamingIt) {
    QJsonObject layout = completeLayout();
    layout.remove(QStringLiteral("masCandidates"));
    write(layout);
    const std::string error = readError();
    EXPECT_TRUE(contains(error, "does not name masCandidates;")) << error;
}

TEST_F(SystemLayoutFileTest, LeftOutLanguagesKeepTheMachinesOwn) {
    QJsonObject layout = completeLayout();
    layout.remove(QStringLiteral("preferredLanguages"));
    write(layout);
    EXPECT_EQ(readSystemLayoutFile(path).preferredLanguages,
              SystemLayout::production().preferredLanguages);
}

TEST_F(SystemLayoutFileTest, AFileThatIsNoObjectIsRefusedClearly) {
    write("[1, 2]");
    const std::string error = readError();
    EXPECT_TRUE(contains(error, "layout.json holds an array; a layout is a JSON object")) << error;
}

TEST_F(SystemLayoutFileTest, AnUnknownKeyIsRefusedNamingIt) {
    QJsonObject layout = completeLayout();
    layout.insert(QStringLiteral("applicationDirectory"), QStringLiteral("Apps"));
    write(layout);
    const std::string error = readError();
    EXPECT_TRUE(contains(error, "has unknown keys: applicationDirectory")) << error;
}

TEST_F(SystemLayoutFileTest, AValueOfTheWrongTypeIsRefusedNamingItsKey) {
    for (const auto& [key, value] : {std::pair{"homeDirectory", QJsonValue(5)},
                                     std::pair{"brewCandidates", QJsonValue(u"bin/brew"_qs)},
                                     std::pair{"catalogueUrl", QJsonValue(u"https://a b/"_qs)},
                                     std::pair{"preferredLanguages", QJsonValue(QJsonArray{1})}}) {
        QJsonObject layout = completeLayout();
        layout.insert(QLatin1String(key), value);
        write(layout);
        const std::string error = readError();
        EXPECT_TRUE(contains(error, (std::string("gives ") + key + " a value that is not").c_str()))
            << error;
    }
}

TEST_F(SystemLayoutFileTest, AnEmptyCatalogueAddressMeansNoneYet) {
    QJsonObject layout = completeLayout();
    layout.insert(QStringLiteral("catalogueUrl"), QString());
    write(layout);
    EXPECT_TRUE(readSystemLayoutFile(path).catalogueUrl.isEmpty());
}

TEST_F(SystemLayoutFileTest, AFileFarLargerThanALayoutIsRefused) {
    QJsonObject layout = completeLayout();
    layout.insert(QStringLiteral("homeDirectory"), QString(2 * 1024 * 1024, u'h'));
    write(layout);
    const std::string error = readError();
    EXPECT_TRUE(contains(error, "layout.json is larger than 1048576 bytes")) << error;
}

TEST_F(SystemLayoutFileTest, WritingTheCatalogueAddressLeavesTheOtherKeysAsTheyAre) {
    QJsonObject layout = completeLayout();
    layout.remove(QStringLiteral("preferredLanguages"));
    layout.insert(QStringLiteral("catalogueUrl"), QString());
    write(layout);
    const QUrl served(QStringLiteral("https://127.0.0.1:5555/api/cask.json"));
    writeSystemLayoutCatalogueUrl(path, served);

    layout.insert(QStringLiteral("catalogueUrl"), served.toString());
    EXPECT_EQ(writtenObject(), layout);
    EXPECT_EQ(readSystemLayoutFile(path).catalogueUrl, served);
}
