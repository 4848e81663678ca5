#include "app/cli/match_command.h"
#include "app/cli/scan_bundles_command.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>

#include <qcoro/qcorotask.h>

namespace {

const char usage[] =
    "Usage: tarnel-cli <command> [options]\n"
    "\n"
    "Commands:\n"
    "  scan-bundles [--applications DIR] [--json] [--verbose]\n"
    "      Lists the application bundles and what each declares.\n"
    "  match --applications DIR [--catalogue FILE] [--installed TOKEN,...] [--json]\n"
    "      Matches the bundles against the cask catalogue.\n";

QCoro::Task<int> runCommand(QStringList arguments) {
    const QString command = arguments.value(1);
    if (command == QLatin1String("scan-bundles")) {
        co_return co_await tarnel::runScanBundlesCommand(arguments.mid(1));
    }
    if (command == QLatin1String("match")) {
        co_return co_await tarnel::runMatchCommand(arguments.mid(1));
    }
    QTextStream(stderr) << usage;
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
