#include "app/console/command_parser.h"
#include "app/console/standard_output.h"
#include "sandbox_builder.h"
#include "sandbox_server.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

const QString program = QStringLiteral("tarnel-sandbox");

const QString description = QStringLiteral(
    "Commands:\n"
    "  create  Lays out a simulated Mac in DIR (an empty or new folder).\n"
    "  serve   Serves DIR's catalogue and update feeds over loopback HTTPS until\n"
    "          stopped, and writes its address into DIR/layout.json.\n"
    "\n"
    "'tarnel-sandbox COMMAND --help' tells what each command takes.");

int create(const QStringList& arguments) {
    const QString name = program + QStringLiteral(" create");
    const QCommandLineOption sharedOption(QStringLiteral("shared"),
                                          QStringLiteral("The shared data and fixtures."),
                                          QStringLiteral("DIR"), QStringLiteral(TARNEL_SHARED_DIR));
    tarnel::CommandParser parser(name, QStringLiteral("tarnel-sandbox create DIR [--shared DIR]"),
                                 QStringLiteral("Lays out a simulated Mac in DIR, an empty or new "
                                                "folder, from the shared fixtures."),
                                 {sharedOption}, {QStringLiteral("DIR")});
    if (const auto status = parser.parse(arguments)) {
        return *status;
    }
    const QString root = parser.arguments().constFirst();
    try {
        tarnel::SandboxBuilder(root, parser.value(sharedOption),
                               QCoreApplication::applicationDirPath())
            .build();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", name.toUtf8().constData(), error.what());
        return 1;
    }
    return tarnel::writeStandardOutput(
               QStringLiteral("Created a sandbox in %1\n").arg(root).toUtf8(), name)
               ? 0
               : 1;
}

int serve(const QStringList& arguments) {
    tarnel::CommandParser parser(
        program + QStringLiteral(" serve"), QStringLiteral("tarnel-sandbox serve DIR"),
        QStringLiteral("Serves DIR's catalogue and update feeds over loopback "
                       "HTTPS until stopped, and writes its address "
                       "into DIR/layout.json."),
        {}, {QStringLiteral("DIR")});
    if (const auto status = parser.parse(arguments)) {
        return *status;
    }
    return tarnel::serveSandbox(parser.arguments().constFirst());
}

}  // namespace

int main(int argc, char** argv) {
    tarnel::ignoreBrokenPipeSignal();
    QCoreApplication application(argc, argv);
    tarnel::CommandParser parser(program, QStringLiteral("tarnel-sandbox COMMAND DIR [OPTIONS]"),
                                 description, {}, {QStringLiteral("COMMAND")},
                                 tarnel::ArgumentScope::subcommand);
    if (const auto status = parser.parse(QCoreApplication::arguments())) {
        return *status;
    }
    const QStringList commandArguments = parser.arguments();
    const QString command = commandArguments.constFirst();
    if (command == QLatin1String("create")) {
        return create(commandArguments);
    }
    if (command == QLatin1String("serve")) {
        return serve(commandArguments);
    }
    return parser.fail(QStringLiteral("Unknown command '%1'.").arg(command));
}
