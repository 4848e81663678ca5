#include "cli_fixture.h"

#include "support/test_paths.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

// A result that cannot be written is a failure the user hears of, never a
// silent success or a death by signal.
namespace {

class UnwritableOutput : public CliFixture {
protected:
    QStringList scanBundles() const {
        return {QStringLiteral("scan-bundles"), QStringLiteral("--applications"), applications(),
                QStringLiteral("--json")};
    }
};

const QString fullDisk = QStringLiteral("/dev/full");

}  // namespace

TEST_F(UnwritableOutput, AFullDiskFailsTheCommandWithAMessage) {
    const CliResult result = runCliWritingTo(toolPath(QStringLiteral("tarnel-cli")), scanBundles(),
                                             folder.path(), fullDisk);

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(
        result.errors,
        "tarnel-cli scan-bundles: cannot write to standard output: No space left on device\n");
}

TEST_F(UnwritableOutput, AReaderThatHasGoneFailsTheCommandWithAMessage) {
    const CliResult result =
        runCliIntoClosedPipe(toolPath(QStringLiteral("tarnel-cli")), scanBundles(), folder.path());

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors,
              "tarnel-cli scan-bundles: cannot write to standard output: Broken pipe\n");
}

TEST_F(UnwritableOutput, AFullDiskFailsTheUsage) {
    const CliResult result = runCliWritingTo(toolPath(QStringLiteral("tarnel-cli")),
                                             {QStringLiteral("--help")}, folder.path(), fullDisk);

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors,
              "tarnel-cli: cannot write to standard output: No space left on device\n");
}

TEST_F(UnwritableOutput, AReaderThatHasGoneFailsTheSandboxCreation) {
    const CliResult result = runCliIntoClosedPipe(
        toolPath(QStringLiteral("tarnel-sandbox")),
        {QStringLiteral("create"), folder.filePath(QStringLiteral("mac"))}, folder.path());

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors,
              "tarnel-sandbox create: cannot write to standard output: Broken pipe\n");
}
