#include "support/fake_brew_state.h"
#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <plist/plist.h>

namespace {

struct Result {
    int exitStatus = -1;
    QString standardOutput;
    QString standardError;
};

QString casksDir() {
    return sharedDir() + QStringLiteral("/data/casks/");
}

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A fake-brew installed as "brew" in a temporary folder, with an
// applications folder holding copies of the shared bundles.
class FakeBrew {
public:
    FakeBrew() : state(root.filePath(QStringLiteral("state"))) {
        QDir().mkpath(applications());
        state.setApplicationsDirectory(applications());
        state.installAt(brew());
    }

    QString brew() const { return root.filePath(QStringLiteral("bin/brew")); }
    QString applications() const { return root.filePath(QStringLiteral("Applications")); }
    QString infoPlist(const QString& bundle) const {
        return applications() + u'/' + bundle + QStringLiteral("/Contents/Info.plist");
    }

    void copyBundle(const QString& bundle) {
        QDir().mkpath(QFileInfo(infoPlist(bundle)).path());
        QFile::copy(fixturesDir() + QStringLiteral("/bundles/") + bundle +
                        QStringLiteral("/Contents/Info.plist"),
                    infoPlist(bundle));
    }

    Result run(const QStringList& arguments,
               const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(brew(), arguments);
        process.waitForFinished(-1);
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    QTemporaryDir root;
    FakeBrewState state;
};

// The two version keys of a plist file, and whether it is binary.
struct PlistVersion {
    QString shortVersion;
    QString buildVersion;
    bool isBinary = false;
};

QString stringAt(plist_t dictionary, const char* key) {
    char* value = nullptr;
    plist_get_string_val(plist_dict_get_item(dictionary, key), &value);
    const QString text = QString::fromUtf8(value);
    free(value);
    return text;
}

PlistVersion readPlist(const QString& path) {
    const QByteArray bytes = contentsOf(path);
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    PlistVersion version{
        stringAt(root, "CFBundleShortVersionString"), stringAt(root, "CFBundleVersion"),
        plist_is_binary(bytes.constData(), static_cast<uint32_t>(bytes.size())) != 0};
    plist_free(root);
    return version;
}

void convertToBinary(const QString& path) {
    const QByteArray xml = contentsOf(path);
    plist_t root = nullptr;
    plist_from_xml(xml.constData(), static_cast<uint32_t>(xml.size()), &root);
    char* binary = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &binary, &length);
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(binary, length);
    plist_to_bin_free(binary);
    plist_free(root);
}

}  // namespace

TEST(FakeBrew, PrintsItsVersion) {
    FakeBrew fake;
    const Result result = fake.run({QStringLiteral("--version")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, QStringLiteral("Homebrew 4.5.0\n"));
}

TEST(FakeBrew, FindsItsStateThroughTheEnvironmentFirst) {
    FakeBrew fake;
    FakeBrewState other(fake.root.filePath(QStringLiteral("other")));
    other.setVersionText(QStringLiteral("Homebrew other"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TARNEL_FAKE_BREW_STATE"), other.folder());
    EXPECT_EQ(fake.run({QStringLiteral("--version")}, environment).standardOutput,
              QStringLiteral("Homebrew other\n"));
    EXPECT_EQ(other.invocations().size(), 1);
    EXPECT_TRUE(fake.state.invocations().isEmpty());
}

TEST(FakeBrew, FailsClearlyWithoutAState) {
    QTemporaryDir root;
    const QString brew = root.filePath(QStringLiteral("brew"));
    QFile::link(toolPath(QStringLiteral("fake-brew")), brew);
    QProcess process;
    process.start(brew, {QStringLiteral("--version")});
    process.waitForFinished(-1);
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().contains("no state folder"));
}

TEST(FakeBrew, RecordsArgumentsFolderAndVariables) {
    FakeBrew fake;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SUDO_PROMPT"), QString());
    environment.remove(QStringLiteral("DISPLAY"));
    fake.run({QStringLiteral("cleanup"), QStringLiteral("firefox")}, environment);
    const FakeBrewInvocation invocation = fake.state.invocations().value(0);
    EXPECT_EQ(invocation.arguments,
              (QStringList{QStringLiteral("cleanup"), QStringLiteral("firefox")}));
    EXPECT_EQ(invocation.workingDirectory, QDir::currentPath());
    EXPECT_EQ(invocation.environment.value(QStringLiteral("SUDO_PROMPT")), QString(""));
    EXPECT_TRUE(invocation.environment.contains(QStringLiteral("DISPLAY")));
    EXPECT_FALSE(invocation.environment.value(QStringLiteral("DISPLAY")).has_value());
    EXPECT_LE(invocation.startedAt, invocation.endedAt);
}

TEST(FakeBrew, AdoptsABundleWhoseVersionAgrees) {
    FakeBrew fake;
    fake.copyBundle(QStringLiteral("Rectangle.app"));
    QJsonObject cask =
        QJsonDocument::fromJson(contentsOf(casksDir() + QStringLiteral("rectangle.json"))).object();
    cask.insert(QStringLiteral("version"), QStringLiteral("0.85"));
    fake.state.addCask(cask);
    const Result result =
        fake.run({QStringLiteral("install"), QStringLiteral("--cask"), QStringLiteral("--adopt"),
                  QStringLiteral("rectangle"), QStringLiteral("--no-quarantine")});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError.toStdString();
    EXPECT_EQ(fake.run({QStringLiteral("list"), QStringLiteral("--cask")}).standardOutput,
              QStringLiteral("rectangle\n"));
}

TEST(FakeBrew, RefusesToAdoptADifferentVersionNamingBoth) {
    FakeBrew fake;
    fake.copyBundle(QStringLiteral("Rectangle.app"));
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("rectangle.json"));
    const Result result = fake.run({QStringLiteral("install"), QStringLiteral("--cask"),
                                    QStringLiteral("--adopt"), QStringLiteral("rectangle")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(result.standardError.contains(
        QStringLiteral("It seems the existing App is different from the one being installed.")));
    EXPECT_TRUE(result.standardError.contains(QStringLiteral("is 0.98 but is 0.85 for")));
    EXPECT_TRUE(
        fake.run({QStringLiteral("list"), QStringLiteral("--cask")}).standardOutput.isEmpty());
}

TEST(FakeBrew, RefusesToAdoptAMissingBundle) {
    FakeBrew fake;
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("firefox.json"));
    const Result result = fake.run({QStringLiteral("install"), QStringLiteral("--cask"),
                                    QStringLiteral("--adopt"), QStringLiteral("firefox")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(result.standardError.contains(QStringLiteral("no App at")));
}

TEST(FakeBrew, RejectsAnUnknownCask) {
    FakeBrew fake;
    const Result result = fake.run({QStringLiteral("install"), QStringLiteral("--cask"),
                                    QStringLiteral("--adopt"), QStringLiteral("no-such-cask")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(result.standardError.contains(QStringLiteral("No Cask with this name exists")));
}

TEST(FakeBrew, ForceInstallWritesTheCaskVersionIntoTheBundle) {
    FakeBrew fake;
    fake.copyBundle(QStringLiteral("Rectangle.app"));
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("rectangle.json"));
    const Result result = fake.run({QStringLiteral("install"), QStringLiteral("--cask"),
                                    QStringLiteral("--force"), QStringLiteral("rectangle")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(readPlist(fake.infoPlist(QStringLiteral("Rectangle.app"))).shortVersion,
              QStringLiteral("0.98"));
}

TEST(FakeBrew, ListsOutdatedCasksAsJsonWithStatusZero) {
    FakeBrew fake;
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("firefox.json"));
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("rectangle.json"));
    fake.state.setInstalledVersion(QStringLiteral("firefox"), QStringLiteral("150.0"));
    fake.state.setInstalledVersion(QStringLiteral("rectangle"), QStringLiteral("0.98"));
    const Result result = fake.run({QStringLiteral("outdated"), QStringLiteral("--cask"),
                                    QStringLiteral("--greedy"), QStringLiteral("--json")});
    EXPECT_EQ(result.exitStatus, 0);
    const QJsonObject report = QJsonDocument::fromJson(result.standardOutput.toUtf8()).object();
    EXPECT_EQ(report.value(QStringLiteral("formulae")), QJsonArray());
    const QJsonArray casks = report.value(QStringLiteral("casks")).toArray();
    ASSERT_EQ(casks.size(), 1);
    EXPECT_EQ(casks.first().toObject(),
              (QJsonObject{{QStringLiteral("name"), QStringLiteral("firefox")},
                           {QStringLiteral("installed_versions"), QJsonArray{u"150.0"_qs}},
                           {QStringLiteral("current_version"), QStringLiteral("153.0.3")},
                           {QStringLiteral("pinned"), false},
                           {QStringLiteral("pinned_version"), QJsonValue::Null}}));
}

TEST(FakeBrew, ReportsNothingOutdatedWithStatusZero) {
    FakeBrew fake;
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("rectangle.json"));
    fake.state.setInstalledVersion(QStringLiteral("rectangle"), QStringLiteral("0.98"));
    const Result result = fake.run(
        {QStringLiteral("outdated"), QStringLiteral("--cask"), QStringLiteral("rectangle")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(result.standardOutput.isEmpty());
}

TEST(FakeBrew, NamesAnOutdatedCaskWithoutItsVersionsAndStatusOne) {
    FakeBrew fake;
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("firefox.json"));
    fake.state.setInstalledVersion(QStringLiteral("firefox"), QStringLiteral("150.0"));
    const Result result =
        fake.run({QStringLiteral("outdated"), QStringLiteral("--cask"), QStringLiteral("firefox")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, QStringLiteral("firefox\n"));
    EXPECT_TRUE(result.standardError.isEmpty());
}

TEST(FakeBrew, TellsAnUnknownCaskFromOneThatIsNotInstalled) {
    FakeBrew fake;
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("firefox.json"));
    const QStringList outdated{QStringLiteral("outdated"), QStringLiteral("--cask")};
    const Result unknown = fake.run(outdated + QStringList{QStringLiteral("no-such-cask")});
    EXPECT_EQ(unknown.exitStatus, 1);
    EXPECT_EQ(unknown.standardError,
              QStringLiteral(
                  "Error: Cask 'no-such-cask' is unavailable: No Cask with this name exists.\n"));
    const Result absent = fake.run(outdated + QStringList{QStringLiteral("firefox")});
    EXPECT_EQ(absent.exitStatus, 1);
    EXPECT_EQ(absent.standardError, QStringLiteral("Error: Cask 'firefox' is not installed.\n"));
}

TEST(FakeBrew, UpgradeRewritesABinaryInfoPlistAndKeepsItBinary) {
    FakeBrew fake;
    fake.copyBundle(QStringLiteral("Rectangle.app"));
    convertToBinary(fake.infoPlist(QStringLiteral("Rectangle.app")));
    fake.state.addCaskFromFile(casksDir() + QStringLiteral("rectangle.json"));
    fake.state.setInstalledVersion(QStringLiteral("rectangle"), QStringLiteral("0.85"));
    const Result result =
        fake.run({QStringLiteral("upgrade"), QStringLiteral("--cask"), QStringLiteral("--force"),
                  QStringLiteral("rectangle"), QStringLiteral("--no-quarantine")});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError.toStdString();
    const PlistVersion version = readPlist(fake.infoPlist(QStringLiteral("Rectangle.app")));
    EXPECT_EQ(version.shortVersion, QStringLiteral("0.98"));
    EXPECT_TRUE(version.isBinary);
    EXPECT_EQ(fake.run({QStringLiteral("outdated"), QStringLiteral("--cask"),
                        QStringLiteral("rectangle")})
                  .exitStatus,
              0);
}

TEST(FakeBrew, UpgradeSplitsACommaVersionIntoBothKeys) {
    FakeBrew fake;
    fake.copyBundle(QStringLiteral("Rectangle.app"));
    fake.state.addCask(QJsonObject{
        {QStringLiteral("token"), QStringLiteral("rectangle")},
        {QStringLiteral("version"), QStringLiteral("1.2.3,4567")},
        {QStringLiteral("artifacts"),
         QJsonArray{
             QJsonObject{{QStringLiteral("app"), QJsonArray{QStringLiteral("Rectangle.app")}}}}},
    });
    fake.state.setInstalledVersion(QStringLiteral("rectangle"), QStringLiteral("0.85"));
    fake.run({QStringLiteral("upgrade"), QStringLiteral("--cask"), QStringLiteral("--force"),
              QStringLiteral("rectangle"), QStringLiteral("--no-quarantine")});
    const PlistVersion version = readPlist(fake.infoPlist(QStringLiteral("Rectangle.app")));
    EXPECT_EQ(version.shortVersion, QStringLiteral("1.2.3"));
    EXPECT_EQ(version.buildVersion, QStringLiteral("4567"));
    EXPECT_FALSE(version.isBinary);
}

TEST(FakeBrew, TakesScriptedBehavioursInTurnRepeatingTheLast) {
    FakeBrew fake;
    FakeBrewBehaviour failing;
    failing.exitStatus = 3;
    failing.standardError = "scripted failure";
    fake.state.setBehaviours(QStringLiteral("cleanup"), {failing, {}});
    const QStringList cleanup{QStringLiteral("cleanup"), QStringLiteral("firefox")};
    const Result first = fake.run(cleanup);
    EXPECT_EQ(first.exitStatus, 3);
    EXPECT_EQ(first.standardError, QStringLiteral("scripted failure"));
    EXPECT_EQ(fake.run(cleanup).exitStatus, 0);
    EXPECT_EQ(fake.run(cleanup).exitStatus, 0);
}

TEST(FakeBrew, AsksTheAskpassProgramForThePassword) {
    FakeBrew fake;
    FakeBrewBehaviour guarded;
    guarded.password = QStringLiteral("secret");
    fake.state.setBehaviour(QStringLiteral("--version"), guarded);
    const QString askpass = fake.root.filePath(QStringLiteral("askpass.sh"));
    QFile script(askpass);
    script.open(QIODevice::WriteOnly);
    script.write("#!/bin/sh\necho secret\n");
    script.close();
    script.setPermissions(script.permissions() | QFileDevice::ExeOwner);

    EXPECT_EQ(fake.run({QStringLiteral("--version")}).standardError,
              QStringLiteral("sudo: no password was provided\n"
                             "Error: The command run through sudo exited with 1.\n"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SUDO_ASKPASS"), askpass);
    const Result result = fake.run({QStringLiteral("--version")}, environment);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, QStringLiteral("Homebrew 4.5.0\n"));
}

TEST(FakeBrew, HoldsACommandUntilItsReleaseFileExists) {
    FakeBrew fake;
    FakeBrewBehaviour held;
    held.heldUntil = fake.root.filePath(QStringLiteral("release-cleanup"));
    fake.state.setBehaviour(QStringLiteral("cleanup"), held);
    QProcess process;
    process.start(fake.brew(), {QStringLiteral("cleanup"), QStringLiteral("firefox")});

    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return QFileInfo::exists(held.heldUntil + QStringLiteral(".waiting")); }, 60000));
    EXPECT_EQ(process.state(), QProcess::Running);
    EXPECT_TRUE(fake.state.invocations().isEmpty());

    ASSERT_TRUE(QFile(held.heldUntil).open(QIODevice::WriteOnly));
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(fake.state.invocations().size(), 1);
}
