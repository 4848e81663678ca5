#include "cli_fixture.h"
#include "served_sandbox.h"
#include "support/test_paths.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// What the real tarnel-sandbox writes into a sandbox's layout and settings,
// and what the real tarnel-cli makes of them.
namespace {

class SandboxLayout : public ::testing::Test {
protected:
    void SetUp() override {
        const CliResult created =
            runTool(QStringLiteral("tarnel-sandbox"), {QStringLiteral("create"), root});
        ASSERT_EQ(created.exitCode, 0) << created.errors.toStdString();
    }

    CliResult runTool(const QString& tool, const QStringList& arguments) const {
        return runCli(toolPath(tool), arguments, folder.path());
    }
    CliResult runOnSandbox(const QStringList& arguments) const {
        return runTool(QStringLiteral("tarnel-cli"),
                       QStringList{QStringLiteral("--sandbox"), root} + arguments);
    }
    QString inSandbox(const QString& relative) const { return root + u'/' + relative; }

    static QByteArray contentsOf(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        return file.readAll();
    }
    static void write(const QString& path, const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    QJsonObject layout() const {
        return QJsonDocument::fromJson(contentsOf(inSandbox(QStringLiteral("layout.json"))))
            .object();
    }
    void writeLayout(const QJsonObject& object) const {
        write(inSandbox(QStringLiteral("layout.json")), QJsonDocument(object).toJson());
    }

    QTemporaryDir folder;
    QString root = folder.filePath(QStringLiteral("mac"));
};

}  // namespace

TEST_F(SandboxLayout, ScanningASandboxNeverServedSaysToServeItFirst) {
    const CliResult scanned = runOnSandbox({QStringLiteral("scan")});
    EXPECT_EQ(scanned.exitCode, 1);
    EXPECT_TRUE(scanned.output.isEmpty());
    EXPECT_TRUE(scanned.errors.contains("run `tarnel-sandbox serve " + root.toUtf8() + "` first"))
        << scanned.errors.toStdString();
}

TEST_F(SandboxLayout, ServingWritesTheAddressAndLeavesTheOtherKeysAsTheyAre) {
    QJsonObject written = layout();
    written.insert(QStringLiteral("applicationsDirectory"), QStringLiteral("Applications"));
    written.remove(QStringLiteral("preferredLanguages"));
    writeLayout(written);

    const ServedSandbox served(root);
    ASSERT_TRUE(served.isServing());
    QJsonObject after = layout();
    const QString address = after.take(QStringLiteral("catalogueUrl")).toString();
    EXPECT_TRUE(address.startsWith(QStringLiteral("https://127.0.0.1:"))) << address.toStdString();
    EXPECT_TRUE(address.endsWith(QStringLiteral("/api/cask.json"))) << address.toStdString();
    written.remove(QStringLiteral("catalogueUrl"));
    EXPECT_EQ(after, written);
}

TEST_F(SandboxLayout, ServingRefusesALayoutThatNamesNoPlaceAndLeavesItAlone) {
    write(inSandbox(QStringLiteral("layout.json")), "{}");
    ServedSandbox served(root);
    EXPECT_FALSE(served.isServing());
    EXPECT_TRUE(served.errors().contains("does not name applicationsDirectory"));
    EXPECT_EQ(contentsOf(inSandbox(QStringLiteral("layout.json"))), QByteArray("{}"));
}

TEST_F(SandboxLayout, AnEmptyLayoutIsRefusedRatherThanScanningTheRealMachine) {
    write(inSandbox(QStringLiteral("layout.json")), "{}");
    const CliResult scanned =
        runOnSandbox({QStringLiteral("scan-bundles"), QStringLiteral("--json")});
    EXPECT_EQ(scanned.exitCode, 1);
    EXPECT_TRUE(scanned.output.isEmpty());
    EXPECT_TRUE(scanned.errors.contains("does not name applicationsDirectory, brewCandidates"))
        << scanned.errors.toStdString();
}

TEST_F(SandboxLayout, ALayoutThatIsNoObjectIsRefusedClearly) {
    write(inSandbox(QStringLiteral("layout.json")), "[\"Applications\"]");
    const CliResult scanned = runOnSandbox({QStringLiteral("scan-bundles")});
    EXPECT_EQ(scanned.exitCode, 1);
    EXPECT_TRUE(scanned.errors.contains("holds an array; a layout is a JSON object"))
        << scanned.errors.toStdString();
}

TEST_F(SandboxLayout, AnUnparsableSettingsFileIsReportedAndLeftAsItIs) {
    const QString settings = inSandbox(QStringLiteral("settings.json"));
    const QByteArray broken = R"({"enableMASSupport": true, "excludedApplications": [)";
    write(settings, broken);
    const CliResult scanned =
        runOnSandbox({QStringLiteral("scan-bundles"), QStringLiteral("--verbose")});
    EXPECT_EQ(scanned.exitCode, 0) << scanned.errors.toStdString();
    EXPECT_TRUE(scanned.errors.contains("[WARNING] The settings file " + settings.toUtf8() +
                                        " cannot be parsed"))
        << scanned.errors.toStdString();
    EXPECT_EQ(contentsOf(settings), broken);
}
