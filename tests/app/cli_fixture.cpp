#include "cli_fixture.h"

#include "support/await.h"
#include "support/test_paths.h"

#include <QJsonDocument>
#include <QProcess>

#include <qcoro/qcoroprocess.h>

#include <cerrno>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

namespace {

QCoro::Task<CliResult> runToEnd(QString program, QStringList arguments, QString home,
                                std::function<void(QProcess&)> prepare) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The program opens the user's settings; keep them inside the test's folder.
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    process.setProcessEnvironment(environment);
    if (prepare) {
        prepare(process);
    }
    co_await qCoro(process).start(program, arguments);
    co_await qCoro(process).waitForFinished(-1);
    co_return CliResult{process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                        process.readAllStandardOutput(), process.readAllStandardError()};
}

}  // namespace

CliResult runCli(const QString& program, const QStringList& arguments, const QString& home) {
    return await(runToEnd(program, arguments, home, {}));
}

CliResult runCliWritingTo(const QString& program, const QStringList& arguments, const QString& home,
                          const QString& outputPath) {
    return await(runToEnd(program, arguments, home, [outputPath](QProcess& process) {
        process.setStandardOutputFile(outputPath);
    }));
}

CliResult runCliIntoClosedPipe(const QString& program, const QStringList& arguments,
                               const QString& home) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    // Put in place after QProcess has set up the child's own channels.
    const CliResult result =
        await(runToEnd(program, arguments, home, [writer = ends[1]](QProcess& process) {
            process.setChildProcessModifier([writer] { dup2(writer, STDOUT_FILENO); });
        }));
    close(ends[1]);
    return result;
}

CliResult runCliOnTerminal(const QString& program, const QStringList& arguments,
                           const QString& home) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GE(terminal, 0);
    EXPECT_EQ(grantpt(terminal), 0);
    EXPECT_EQ(unlockpt(terminal), 0);
    // Held open here too, so that reading waits for the program instead of
    // ending before it has opened its side.
    const int screen = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GE(screen, 0);
    QByteArray shown;
    std::thread reader([terminal, &shown] {
        char buffer[4096];
        for (;;) {
            const ssize_t count = read(terminal, buffer, sizeof buffer);
            if (count > 0) {
                shown.append(buffer, count);
            } else if (count < 0 && errno == EINTR) {
                continue;
            } else {
                // Every side closed: the terminal is gone (EIO).
                return;
            }
        }
    });
    CliResult result = await(runToEnd(program, arguments, home, [screen](QProcess& process) {
        process.setChildProcessModifier([screen] { dup2(screen, STDERR_FILENO); });
    }));
    close(screen);
    reader.join();
    close(terminal);
    result.errors = shown;
    return result;
}

void CliFixture::SetUp() {
    const CliResult copy =
        runCli(QStringLiteral("cp"),
               {QStringLiteral("-R"), fixturesDir() + QStringLiteral("/bundles"), applications()},
               folder.path());
    ASSERT_EQ(copy.exitCode, 0) << copy.errors.toStdString();
}

CliResult CliFixture::run(const QStringList& arguments) const {
    return runCli(toolPath(QStringLiteral("tarnel-cli")), arguments, folder.path());
}

QJsonArray CliFixture::jsonOf(const CliResult& result) const {
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(result.output, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    EXPECT_TRUE(document.isArray());
    return document.array();
}

QJsonObject CliFixture::record(const QJsonArray& records, const QString& name) const {
    for (const QJsonValue& value : records) {
        if (value[QStringLiteral("name")] == name) {
            return value.toObject();
        }
    }
    ADD_FAILURE() << "no record for " << name.toStdString();
    return {};
}
