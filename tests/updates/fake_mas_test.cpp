#include "support/fake_mas_state.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// The store's tool as the sandbox places it: its lines must be those of the
// real tool, since the parsers are written against the real tool's output.
namespace {

class FakeMas : public ::testing::Test {
protected:
    void SetUp() override { store.installTool(tool()); }

    QString tool() const { return folder.filePath(QStringLiteral("bin/mas")); }

    QByteArray output(const QStringList& arguments) const {
        QProcess process;
        process.start(tool(), arguments);
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput();
    }

    QTemporaryDir folder;
    FakeMasState store{folder.filePath(QStringLiteral("state"))};
};

}  // namespace

TEST_F(FakeMas, ListsNamesPaddedSoThatTheVersionsFormAColumn) {
    store.addInstalledApp(QStringLiteral("497799835"), QStringLiteral("Xcode"),
                          QStringLiteral("15.4"));
    store.addInstalledApp(QStringLiteral("899247664"), QStringLiteral("TestFlight"),
                          QStringLiteral("3.5.2"));

    EXPECT_EQ(output({QStringLiteral("list")}),
              "497799835 Xcode       (15.4)\n"
              "899247664 TestFlight  (3.5.2)\n");
}

TEST_F(FakeMas, ListsOutdatedApplicationsWithSingleBlanks) {
    store.addInstalledApp(QStringLiteral("497799835"), QStringLiteral("Xcode"),
                          QStringLiteral("15.4"));
    store.addInstalledApp(QStringLiteral("640199958"), QStringLiteral("Developer"),
                          QStringLiteral("10.6.5"));
    store.addUpdate(QStringLiteral("497799835"), QStringLiteral("16.0"));
    store.addUpdate(QStringLiteral("640199958"), QStringLiteral("10.6.6"));

    EXPECT_EQ(output({QStringLiteral("outdated")}),
              "497799835 Xcode (15.4 -> 16.0)\n"
              "640199958 Developer (10.6.5 -> 10.6.6)\n");
}
