#include "app/cli/match_command.h"
#include "app/cli/scan_bundles_command.h"
#include "app/cli/scan_command.h"
#include "app/cli/sparkle_check_command.h"
#include "app/cli/sparkle_update_command.h"
#include "app/console/command_parser.h"
#include "app/console/standard_output.h"
#include "core/printable_text.h"
#include "core/system_layout_file.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

#include <qcoro/qcorotask.h>

namespace {

const QString program = QStringLiteral("tarnel-cli");

const QString description = QStringLiteral(
    "Commands:\n"
    "  scan            Discovers every application and prints what Tarnel makes of it.\n"
    "  scan-bundles    Lists the application bundles and what each declares.\n"
    "  match           Matches the bundles against the cask catalogue.\n"
    "  sparkle-check   Asks an application's own update feed for a newer version.\n"
    "  sparkle-update  Installs the update of an application's own feed in place.\n"
    "\n"
    "'tarnel-cli COMMAND --help' tells what each command takes.");

// The commands that reach the sandbox's server.
bool needsServedSandbox(const QString& command) {
    return command == QLatin1String("scan") || command == QLatin1String("sparkle-check") ||
           command == QLatin1String("sparkle-update");
}

QCoro::Task<int> runCommand(QStringList arguments) {
    const QCommandLineOption sandboxOption(
        QStringLiteral("sandbox"),
        QStringLiteral("Work on the simulated Mac in DIR (see tarnel-sandbox), not this machine."),
        QStringLiteral("DIR"));
    tarnel::CommandParser parser(
        program, QStringLiteral("tarnel-cli [--sandbox DIR] COMMAND [OPTIONS]"), description,
        {sandboxOption}, {QStringLiteral("COMMAND")}, tarnel::ArgumentScope::subcommand);
    if (const auto status = parser.parse(arguments)) {
        co_return *status;
    }
    tarnel::SystemLayout layout = tarnel::SystemLayout::production();
    if (parser.isSet(sandboxOption)) {
        try {
            layout = tarnel::readSystemLayoutFile(parser.value(sandboxOption) +
                                                  QStringLiteral("/layout.json"));
        } catch (const tarnel::SystemLayoutFileError& error) {
            const QString problem = tarnel::printableText(QString::fromUtf8(error.what()));
            std::fprintf(stderr, "tarnel-cli: %s\n", problem.toUtf8().constData());
            co_return 1;
        }
        // A sandbox learns its catalogue address only when it is served.
        if (needsServedSandbox(parser.arguments().constFirst()) && layout.catalogueUrl.isEmpty()) {
            const QString folder = tarnel::printableText(parser.value(sandboxOption));
            std::fprintf(stderr,
                         "tarnel-cli: the sandbox %s has no catalogue address yet; run "
                         "`tarnel-sandbox serve %s` first\n",
                         folder.toUtf8().constData(), folder.toUtf8().constData());
            co_return 1;
        }
    }
    const QStringList commandArguments = parser.arguments();
    const QString command = commandArguments.constFirst();
    if (command == QLatin1String("scan")) {
        co_return co_await tarnel::runScanCommand(commandArguments, layout);
    }
    if (command == QLatin1String("scan-bundles")) {
        co_return co_await tarnel::runScanBundlesCommand(commandArguments, layout);
    }
    if (command == QLatin1String("sparkle-check")) {
        co_return co_await tarnel::runSparkleCheckCommand(commandArguments, layout);
    }
    if (command == QLatin1String("sparkle-update")) {
        co_return co_await tarnel::runSparkleUpdateCommand(commandArguments, layout);
    }
    if (command == QLatin1String("match")) {
        co_return co_await tarnel::runMatchCommand(commandArguments, layout);
    }
    co_return parser.fail(QStringLiteral("Unknown command '%1'.").arg(command));
}

QCoro::Task<> runAndExit(QStringList arguments) {
    QCoreApplication::exit(co_await runCommand(std::move(arguments)));
}

}  // namespace

int main(int argc, char** argv) {
    tarnel::ignoreBrokenPipeSignal();
    QCoreApplication application(argc, argv);
    // Started from the running event loop, so that the exit always finds it.
    QTimer::singleShot(0, &application,
                       [arguments = QCoreApplication::arguments()] { runAndExit(arguments); });
    return application.exec();
}
