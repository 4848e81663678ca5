#include "homebrew/cask_catalogue_parser.h"
#include "served_sandbox.h"
#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

// The main job end to end: a sandbox is created and served by the real
// tarnel-sandbox, and the real tarnel-cli discovers its applications.
namespace {

struct Finished {
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
};

Finished run(const QString& tool, const QStringList& arguments) {
    QProcess process;
    process.start(toolPath(tool), arguments);
    process.waitForFinished(120000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

// Blanks and a non-ASCII letter in the path, as a user's folders may have.
QString createSandbox(const QTemporaryDir& folder) {
    const QString root = folder.filePath(QStringLiteral("Macintosh HD \u00fc/mac"));
    const Finished created =
        run(QStringLiteral("tarnel-sandbox"), {QStringLiteral("create"), root});
    EXPECT_EQ(created.exitCode, 0) << created.errors.toStdString();
    return root;
}

Finished scan(const QString& root, const QStringList& options = {}) {
    return run(QStringLiteral("tarnel-cli"),
               QStringList{QStringLiteral("--sandbox"), root, QStringLiteral("scan")} + options);
}

class SandboxScan : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder = std::make_unique<QTemporaryDir>();
        root = createSandbox(*folder);
        served = std::make_unique<ServedSandbox>(root);
        ASSERT_TRUE(served->isServing());
        const Finished finished = scan(root, {QStringLiteral("--json")});
        ASSERT_EQ(finished.exitCode, 0) << finished.errors.toStdString();
        records = QJsonDocument::fromJson(finished.output).array();
    }
    static void TearDownTestSuite() {
        served.reset();
        folder.reset();
    }

    static QJsonObject record(const QString& displayName) {
        for (const QJsonValue& value : records) {
            if (value[QStringLiteral("displayName")].toString() == displayName) {
                return value.toObject();
            }
        }
        ADD_FAILURE() << "no record for " << displayName.toStdString();
        return {};
    }

    static inline std::unique_ptr<QTemporaryDir> folder;
    static inline QString root;
    static inline std::unique_ptr<ServedSandbox> served;
    static inline QJsonArray records;
};

}  // namespace

TEST_F(SandboxScan, FindsEveryApplicationOnceSortedByDisplayName) {
    QStringList names;
    for (const QJsonValue& value : records) {
        names.append(value[QStringLiteral("displayName")].toString());
    }
    const QStringList expected{
        u"Amethyst"_qs, u"CodeEdit"_qs, u"Hammerspoon"_qs,  u"Hidden Bar"_qs,
        u"Ice"_qs,      u"IINA"_qs,     u"Itsycal"_qs,      u"KeepingYouAwake"_qs,
        u"Loop"_qs,     u"Maccy"_qs,    u"MacDown"_qs,      u"MonitorControl"_qs,
        u"OpenEmu"_qs,  u"Pika"_qs,     u"Rectangle"_qs,    u"Sequel Ace"_qs,
        u"Stats"_qs,    u"SwiftBar"_qs, u"VirtualBuddy"_qs, u"Whisky"_qs,
        u"Xcodes"_qs};
    // Safari is excluded outright, Broken has no Info.plist, the uninstaller
    // is skipped by its name and the copy four levels down is never reached.
    EXPECT_EQ(names, expected);
}

TEST_F(SandboxScan, RecordsCarryEveryFieldName) {
    const QJsonObject amethyst = record(QStringLiteral("Amethyst"));
    for (const char* key : {"id", "name", "displayName", "bundlePath", "bundleIdentifier",
                            "bundleVersion", "shortVersion", "sparkleInfo", "excluded",
                            "adoptedCask", "alreadyAdopted", "caskOptions", "masApp"}) {
        EXPECT_TRUE(amethyst.contains(QLatin1String(key))) << key;
    }
}

TEST_F(SandboxScan, AnAdoptedApplicationHasItsCaskAndNoOptions) {
    const QJsonObject rectangle = record(QStringLiteral("Rectangle"));
    EXPECT_TRUE(rectangle[QStringLiteral("alreadyAdopted")].toBool());
    EXPECT_EQ(rectangle[QStringLiteral("adoptedCask")][QStringLiteral("name")].toString(),
              QStringLiteral("rectangle"));
    EXPECT_TRUE(rectangle[QStringLiteral("caskOptions")].toArray().isEmpty());
}

TEST_F(SandboxScan, OneManagedApplicationsCaskHasAManualInstaller) {
    QStringList managed;
    for (const QJsonValue& value : records) {
        if (value[QStringLiteral("alreadyAdopted")].toBool()) {
            managed << value[QStringLiteral("adoptedCask")][QStringLiteral("name")].toString();
        }
    }
    QFile served(root + QStringLiteral("/www/api/cask.json"));
    ASSERT_TRUE(served.open(QIODevice::ReadOnly));
    QStringList manual;
    for (const tarnel::Cask& cask : tarnel::parseCaskCatalogue(
             served.readAll(), true, root + QStringLiteral("/Applications"))) {
        if (cask.manualInstaller && managed.contains(cask.name)) {
            manual << cask.name;
        }
    }
    EXPECT_EQ(manual, QStringList{QStringLiteral("sequel-ace")});
    EXPECT_EQ(
        record(QStringLiteral("Sequel Ace"))[QStringLiteral("adoptedCask")][QStringLiteral("name")]
            .toString(),
        QStringLiteral("sequel-ace"));
}

TEST_F(SandboxScan, AnApplicationWhoseCaskWasDeprecatedStaysAdopted) {
    const QJsonObject macdown = record(QStringLiteral("MacDown"));
    EXPECT_TRUE(macdown[QStringLiteral("alreadyAdopted")].toBool());
    EXPECT_EQ(macdown[QStringLiteral("adoptedCask")][QStringLiteral("name")].toString(),
              QStringLiteral("macdown"));
}

TEST_F(SandboxScan, AnAdoptableApplicationHasRankedOptions) {
    const QJsonArray options =
        record(QStringLiteral("Amethyst"))[QStringLiteral("caskOptions")].toArray();
    ASSERT_FALSE(options.isEmpty());
    EXPECT_EQ(options[0][QStringLiteral("name")].toString(), QStringLiteral("amethyst"));
    EXPECT_DOUBLE_EQ(options[0][QStringLiteral("confidence")].toDouble(), 1.0);
    EXPECT_TRUE(record(QStringLiteral("Amethyst"))[QStringLiteral("adoptedCask")].isNull());
}

TEST_F(SandboxScan, AStoreApplicationHasItsStoreRecord) {
    const QJsonObject hiddenBar = record(QStringLiteral("Hidden Bar"));
    EXPECT_EQ(hiddenBar[QStringLiteral("masApp")][QStringLiteral("id")].toString(),
              QStringLiteral("1452453066"));
    EXPECT_TRUE(record(QStringLiteral("Loop"))[QStringLiteral("masApp")].isNull());
}

TEST_F(SandboxScan, AUserExcludedApplicationIsMarkedAndGetsNoOptions) {
    const QJsonObject openEmu = record(QStringLiteral("OpenEmu"));
    EXPECT_TRUE(openEmu[QStringLiteral("excluded")].toBool());
    EXPECT_TRUE(openEmu[QStringLiteral("caskOptions")].toArray().isEmpty());
}

TEST_F(SandboxScan, ABundleBehindALinkHasItsTargetsPath) {
    EXPECT_TRUE(record(QStringLiteral("Xcodes"))[QStringLiteral("bundlePath")].toString().endsWith(
        QStringLiteral("/Elsewhere/Xcodes.app")));
}

TEST_F(SandboxScan, TheTableShowsEachStatusAndASummary) {
    const Finished finished = scan(root);
    ASSERT_EQ(finished.exitCode, 0) << finished.errors.toStdString();
    const QString table = QString::fromUtf8(finished.output);
    EXPECT_TRUE(table.contains(QStringLiteral("Managed by Homebrew: rectangle")));
    EXPECT_TRUE(table.contains(QStringLiteral("Adoptable: amethyst (100%)")));
    EXPECT_TRUE(table.contains(QStringLiteral("Mac App Store (1452453066)")));
    EXPECT_TRUE(table.contains(QStringLiteral(
        "21 applications: 4 managed by Homebrew, 10 adoptable, 1 from the Mac App Store, "
        "1 excluded, 5 without a cask")));
    // Piped, the progress bar stays silent.
    EXPECT_TRUE(finished.errors.isEmpty()) << finished.errors.toStdString();
}

TEST(SandboxScanFailure, AnUnreachableCatalogueFailsTheScanWithAMessage) {
    QTemporaryDir folder;
    const QString root = createSandbox(folder);
    {
        // Served once, so that the layout holds an address nobody answers at any more.
        const ServedSandbox served(root);
        ASSERT_TRUE(served.isServing());
    }
    const Finished finished = scan(root);
    EXPECT_NE(finished.exitCode, 0);
    EXPECT_TRUE(finished.errors.contains("discovery failed")) << finished.errors.toStdString();
    EXPECT_TRUE(finished.output.isEmpty());
}

TEST(SandboxScanFailure, MissingHomebrewFailsTheScanWithAMessage) {
    QTemporaryDir folder;
    const QString root = createSandbox(folder);
    const ServedSandbox served(root);
    ASSERT_TRUE(served.isServing());
    ASSERT_TRUE(QFile::remove(root + QStringLiteral("/opt/homebrew/bin/brew")));
    const Finished finished = scan(root);
    EXPECT_EQ(finished.exitCode, 1);
    EXPECT_TRUE(
        finished.errors.contains("Homebrew is not installed or not found in standard locations"))
        << finished.errors.toStdString();
}

TEST(SandboxScanFailure, AMissingApplicationsFolderFailsTheScanWithAMessage) {
    QTemporaryDir folder;
    const QString root = createSandbox(folder);
    ServedSandbox served(root);
    ASSERT_TRUE(served.isServing());
    ASSERT_TRUE(QDir(root + QStringLiteral("/Applications")).removeRecursively());
    const Finished finished = scan(root);
    EXPECT_EQ(finished.exitCode, 1);
    EXPECT_TRUE(finished.errors.contains("/Applications directory not found"))
        << finished.errors.toStdString();
}

TEST(SandboxScanFailure, AFolderThatIsNoSandboxIsRefused) {
    QTemporaryDir folder;
    const Finished finished = scan(folder.path());
    EXPECT_EQ(finished.exitCode, 1);
    EXPECT_TRUE(finished.errors.contains("layout.json")) << finished.errors.toStdString();
}

TEST(SandboxCreate, RefusesAFolderThatHoldsFiles) {
    QTemporaryDir folder;
    QFile(folder.filePath(QStringLiteral("keep.txt"))).open(QIODevice::WriteOnly);
    const Finished created =
        run(QStringLiteral("tarnel-sandbox"), {QStringLiteral("create"), folder.path()});
    EXPECT_EQ(created.exitCode, 1);
    EXPECT_TRUE(created.errors.contains("already holds files"));
}

TEST(SandboxCreate, SaysTheSharedFolderIsMissingAndWritesNothing) {
    QTemporaryDir folder;
    const QString root = folder.filePath(QStringLiteral("new/mac"));
    const QString missing = folder.filePath(QStringLiteral("missing"));

    const Finished created =
        run(QStringLiteral("tarnel-sandbox"),
            {QStringLiteral("create"), root, QStringLiteral("--shared"), missing});

    EXPECT_EQ(created.exitCode, 1);
    EXPECT_TRUE(created.errors.contains(
        QStringLiteral("The shared folder %1 does not exist").arg(missing).toUtf8()))
        << created.errors.toStdString();
    EXPECT_FALSE(QFileInfo::exists(folder.filePath(QStringLiteral("new"))));
}

namespace {

// A copy of the shared folder whose fixture bundle cannot be turned into a
// binary property list makes the build fail halfway.
QString spoiledSharedFolder(const QTemporaryDir& folder) {
    const QString shared = folder.filePath(QStringLiteral("shared"));
    EXPECT_TRUE(QDir().mkpath(shared + QStringLiteral("/fixtures")));
    EXPECT_TRUE(QDir().mkpath(shared + QStringLiteral("/data")));
    QProcess copy;
    copy.start(QStringLiteral("cp"),
               {QStringLiteral("-R"), fixturesDir() + QStringLiteral("/bundles"),
                shared + QStringLiteral("/fixtures/bundles")});
    EXPECT_TRUE(copy.waitForFinished(60000) && copy.exitCode() == 0);
    EXPECT_TRUE(QFile::copy(sharedDir() + QStringLiteral("/data/catalogue.json"),
                            shared + QStringLiteral("/data/catalogue.json")));
    QFile infoPlist(shared + QStringLiteral("/fixtures/bundles/CodeEdit.app/Contents/Info.plist"));
    EXPECT_TRUE(infoPlist.open(QIODevice::WriteOnly | QIODevice::Truncate));
    infoPlist.write("not a property list");
    return shared;
}

}  // namespace

TEST(SandboxCreate, AFailedBuildLeavesNoHalfBuiltFolder) {
    QTemporaryDir folder;
    const QString shared = spoiledSharedFolder(folder);
    const QString root = folder.filePath(QStringLiteral("new/mac"));

    const Finished created =
        run(QStringLiteral("tarnel-sandbox"),
            {QStringLiteral("create"), root, QStringLiteral("--shared"), shared});

    EXPECT_EQ(created.exitCode, 1);
    EXPECT_TRUE(created.errors.contains("CodeEdit.app")) << created.errors.toStdString();
    EXPECT_FALSE(QFileInfo::exists(folder.filePath(QStringLiteral("new"))));
}

TEST(SandboxCreate, AFailedBuildLeavesAGivenEmptyFolderEmpty) {
    QTemporaryDir folder;
    const QString shared = spoiledSharedFolder(folder);
    const QString root = folder.filePath(QStringLiteral("mac"));
    ASSERT_TRUE(QDir().mkpath(root));

    const Finished created =
        run(QStringLiteral("tarnel-sandbox"),
            {QStringLiteral("create"), root, QStringLiteral("--shared"), shared});

    EXPECT_EQ(created.exitCode, 1);
    EXPECT_TRUE(QDir(root).exists());
    EXPECT_TRUE(QDir(root).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
}
