#include "cli_fixture.h"

#include "support/test_paths.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// How the two programs read their arguments and where their usage goes.
namespace {

class ProgramArguments : public ::testing::Test {
protected:
    CliResult cli(const QStringList& arguments) const {
        return runCli(toolPath(QStringLiteral("tarnel-cli")), arguments, folder.path());
    }
    CliResult sandboxTool(const QStringList& arguments) const {
        return runCli(toolPath(QStringLiteral("tarnel-sandbox")), arguments, folder.path());
    }

    QTemporaryDir folder;
};

}  // namespace

TEST_F(ProgramArguments, TarnelCliPrintsItsUsageOnStandardOutputForHelp) {
    for (const QString& help : {QStringLiteral("--help"), QStringLiteral("-h")}) {
        const CliResult result = cli({help});
        EXPECT_EQ(result.exitCode, 0) << help.toStdString();
        EXPECT_TRUE(result.output.startsWith("Usage: tarnel-cli [--sandbox DIR] COMMAND"))
            << result.output.toStdString();
        for (const char* command :
             {"scan-bundles", "updates", "upgrade", "adopt", "exclude", "include", "skip"}) {
            EXPECT_TRUE(result.output.contains(QByteArray("\n  ") + command + ' '))
                << command << '\n'
                << result.output.toStdString();
        }
        EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
    }
}

TEST_F(ProgramArguments, EachCommandPrintsItsUsageOnStandardOutputForHelp) {
    for (const QString& command : {QStringLiteral("scan"), QStringLiteral("updates"),
                                   QStringLiteral("scan-bundles"), QStringLiteral("match")}) {
        for (const QString& help : {QStringLiteral("--help"), QStringLiteral("-h")}) {
            const CliResult result = cli({command, help});
            EXPECT_EQ(result.exitCode, 0) << command.toStdString() << ' ' << help.toStdString();
            EXPECT_TRUE(result.output.startsWith(
                QStringLiteral("Usage: tarnel-cli [--sandbox DIR] %1 [").arg(command).toUtf8()))
                << result.output.toStdString();
            EXPECT_TRUE(result.output.contains("--json")) << result.output.toStdString();
            EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
        }
    }
}

TEST_F(ProgramArguments, EachApplicationCommandPrintsItsUsageOnStandardOutputForHelp) {
    for (const QString& command :
         {QStringLiteral("upgrade"), QStringLiteral("adopt"), QStringLiteral("exclude"),
          QStringLiteral("include"), QStringLiteral("skip")}) {
        const CliResult result = cli({command, QStringLiteral("--help")});
        EXPECT_EQ(result.exitCode, 0) << command.toStdString();
        EXPECT_TRUE(result.output.startsWith(
            QStringLiteral("Usage: tarnel-cli [--sandbox DIR] %1 APP [").arg(command).toUtf8()))
            << result.output.toStdString();
        EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
    }
}

TEST_F(ProgramArguments, AnApplicationCommandWithoutItsApplicationIsAWrongArgument) {
    const CliResult result = cli({QStringLiteral("upgrade")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.startsWith("tarnel-cli upgrade: ")) << result.errors.toStdString();
}

TEST_F(ProgramArguments, TarnelCliNamesAnUnknownCommand) {
    const CliResult result = cli({QStringLiteral("scna"), QStringLiteral("--json")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.startsWith("tarnel-cli: Unknown command 'scna'.\n"))
        << result.errors.toStdString();
}

TEST_F(ProgramArguments, TarnelCliRefusesALongOptionWrittenWithOneDashAsOneOption) {
    const CliResult result =
        cli({QStringLiteral("-sandbox"), folder.path(), QStringLiteral("scan")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.startsWith("tarnel-cli: Unknown option '-sandbox'.\n"))
        << result.errors.toStdString();
}

TEST_F(ProgramArguments, ACommandRefusesALongOptionWrittenWithOneDashAsOneOption) {
    const CliResult result = cli({QStringLiteral("scan-bundles"), QStringLiteral("--applications"),
                                  folder.path(), QStringLiteral("-json")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.startsWith("tarnel-cli scan-bundles: Unknown option '-json'.\n"))
        << result.errors.toStdString();
}

TEST_F(ProgramArguments, TarnelCliTakesTheSandboxWithAnEqualsSign) {
    const QString root = folder.filePath(QStringLiteral("mac"));
    const CliResult created = sandboxTool({QStringLiteral("create"), root});
    ASSERT_EQ(created.exitCode, 0) << created.errors.toStdString();

    const CliResult result = cli({QStringLiteral("--sandbox=") + root,
                                  QStringLiteral("scan-bundles"), QStringLiteral("--json")});

    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    QStringList paths;
    for (const QJsonValue& record : QJsonDocument::fromJson(result.output).array()) {
        paths.append(record[QStringLiteral("bundlePath")].toString());
    }
    EXPECT_TRUE(paths.contains(root + QStringLiteral("/Applications/Amethyst.app")))
        << paths.join(u'\n').toStdString();
}

TEST_F(ProgramArguments, TarnelSandboxPrintsItsUsageOnStandardOutputForHelp) {
    for (const QStringList& arguments :
         {QStringList{QStringLiteral("--help")}, QStringList{QStringLiteral("-h")}}) {
        const CliResult result = sandboxTool(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.output.startsWith("Usage: tarnel-sandbox COMMAND DIR"))
            << result.output.toStdString();
        EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
    }
}

TEST_F(ProgramArguments, EachSandboxCommandPrintsItsUsageOnStandardOutputForHelp) {
    for (const QString& command : {QStringLiteral("create"), QStringLiteral("serve")}) {
        const CliResult result = sandboxTool({command, QStringLiteral("--help")});
        EXPECT_EQ(result.exitCode, 0) << command.toStdString();
        EXPECT_TRUE(result.output.startsWith(
            QStringLiteral("Usage: tarnel-sandbox %1 DIR").arg(command).toUtf8()))
            << result.output.toStdString();
        EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
    }
}

TEST_F(ProgramArguments, TarnelSandboxNamesAnUnknownCommand) {
    const CliResult result = sandboxTool({QStringLiteral("craete"), folder.path()});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.startsWith("tarnel-sandbox: Unknown command 'craete'.\n"))
        << result.errors.toStdString();
}

TEST_F(ProgramArguments, TarnelSandboxRefusesALongOptionWrittenWithOneDashAndCreatesNothing) {
    const QString root = folder.filePath(QStringLiteral("mac"));

    const CliResult result =
        sandboxTool({QStringLiteral("create"), root, QStringLiteral("-shared"), sharedDir()});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.startsWith("tarnel-sandbox create: Unknown option '-shared'.\n"))
        << result.errors.toStdString();
    EXPECT_FALSE(QFileInfo::exists(root));
}
