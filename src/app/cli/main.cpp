#include "app/cli/match_command.h"
#include "app/cli/scan_bundles_command.h"
#include "app/cli/scan_command.h"
#include "core/system_layout_file.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>

#include <qcoro/qcorotask.h>

namespace {

const char usage[] =
    "Usage: tarnel-cli [--sandbox DIR] <command> [options]\n"
    "\n"
    "  --sandbox DIR   work on the simulated Mac in DIR (see tarnel-sandbox)\n"
    "                  instead of this machine\n"
    "\n"
    "Commands:\n"
    "  scan [--json] [--verbose]\n"
    "      Discovers every application and prints what Tarnel makes of it.\n"
    "  scan-bundles [--applications DIR] [--json] [--verbose]\n"
    "      Lists the application bundles and what each declares.\n"
    "  match --applications DIR [--catalogue FILE] [--installed TOKEN,...] [--json]\n"
    "      Matches the bundles against the cask catalogue.\n";

QCoro::Task<int> runCommand(QStringList arguments) {
    QTextStream errors(stderr);
    tarnel::SystemLayout layout = tarnel::SystemLayout::production();
    if (arguments.value(1) == QLatin1String("--sandbox")) {
        if (arguments.size() < 3) {
            errors << usage;
            co_return 2;
        }
        try {
            layout = tarnel::readSystemLayoutFile(arguments.at(2) + QStringLiteral("/layout.json"));
        } catch (const tarnel::SystemLayoutFileError& error) {
            errors << "tarnel-cli: " << error.what() << '\n';
            co_return 1;
        }
        // A sandbox learns its catalogue address only when it is served.
        if (arguments.value(3) == QLatin1String("scan") && layout.catalogueUrl.isEmpty()) {
            errors << "tarnel-cli: the sandbox " << arguments.at(2)
                   << " has no catalogue address yet; run `tarnel-sandbox serve " << arguments.at(2)
                   << "` first\n";
            co_return 1;
        }
        arguments.remove(1, 2);
    }
    const QString command = arguments.value(1);
    if (command == QLatin1String("scan")) {
        co_return co_await tarnel::runScanCommand(arguments.mid(1), layout);
    }
    if (command == QLatin1String("scan-bundles")) {
        co_return co_await tarnel::runScanBundlesCommand(arguments.mid(1), layout);
    }
    if (command == QLatin1String("match")) {
        co_return co_await tarnel::runMatchCommand(arguments.mid(1), layout);
    }
    errors << usage;
    co_return 2;
}

QCoro::Task<> runAndExit(QStringList arguments) {
    QCoreApplication::exit(co_await runCommand(std::move(arguments)));
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    // Started from the running event loop, so that the exit always finds it.
    QTimer::singleShot(0, &application,
                       [arguments = QCoreApplication::arguments()] { runAndExit(arguments); });
    return application.exec();
}
