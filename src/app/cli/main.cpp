#include "app/cli/adopt_command.h"
#include "app/cli/exclusion_command.h"
#include "app/cli/match_command.h"
#include "app/cli/scan_bundles_command.h"
#include "app/cli/scan_command.h"
#include "app/cli/skip_command.h"
#include "app/cli/updates_command.h"
#include "app/cli/upgrade_command.h"
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
    "  scan          Discovers every application and prints what Tarnel makes of it.\n"
    "  updates       Prints the updates pending from Homebrew, Sparkle and the Mac App Store.\n"
    "  upgrade       Installs one pending update of an application.\n"
    "  adopt         Brings an application under Homebrew without reinstalling it.\n"
    "  exclude       Leaves an application out of management.\n"
    "  include       Brings an excluded application back.\n"
    "  skip          Skips the version of an application's pending update.\n"
    "  scan-bundles  Lists the application bundles and what each declares.\n"
    "  match         Matches the bundles against the cask catalogue.\n"
    "\n"
    "'tarnel-cli COMMAND --help' tells what each command takes.");

// The commands that reach the sandbox's server: every one that discovers.
bool needsServedSandbox(const QString& command) {
    static const QStringList discovering{
        QStringLiteral("scan"),  QStringLiteral("updates"), QStringLiteral("upgrade"),
        QStringLiteral("adopt"), QStringLiteral("skip"),
    };
    return discovering.contains(command);
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
    if (command == QLatin1String("updates")) {
        co_return co_await tarnel::runUpdatesCommand(commandArguments, layout);
    }
    if (command == QLatin1String("upgrade")) {
        co_return co_await tarnel::runUpgradeCommand(commandArguments, layout);
    }
    if (command == QLatin1String("adopt")) {
        co_return co_await tarnel::runAdoptCommand(commandArguments, layout);
    }
    if (command == QLatin1String("exclude") || command == QLatin1String("include")) {
        co_return co_await tarnel::runExclusionCommand(commandArguments, layout);
    }
    if (command == QLatin1String("skip")) {
        co_return co_await tarnel::runSkipCommand(commandArguments, layout);
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
