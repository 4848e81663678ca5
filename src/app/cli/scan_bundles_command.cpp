#include "app/cli/scan_bundles_command.h"

#include "app/cli/application_json.h"
#include "app/cli/application_table.h"
#include "app/cli/cli_services.h"
#include "app/cli/command_line.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_layout.h"

#include <QCommandLineParser>
#include <QTextStream>

namespace tarnel {

QCoro::Task<int> runScanBundlesCommand(QStringList arguments, SystemLayout layout) {
    QCommandLineParser parser;
    const QCommandLineOption applicationsOption(QStringLiteral("applications"),
                                                QStringLiteral("The folder to scan."),
                                                QStringLiteral("DIR"));
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Print log lines on standard error."));
    parser.addOptions({applicationsOption, jsonOption, verboseOption});
    const QString command = QStringLiteral("scan-bundles");
    if (!parseCommandLine(parser, arguments, command)) {
        co_return 2;
    }

    const QString root = parser.isSet(applicationsOption) ? parser.value(applicationsOption)
                                                          : layout.applicationsDirectory;
    const auto settings = SettingsStore::open(layout.settingsFile);
    Logger logger(parser.isSet(verboseOption) ? standardErrorSink() : LogSink(), *settings,
                  layout.desktopDirectory);
    const std::optional<QList<Application>> applications =
        co_await readApplicationsForCommand(root, layout.preferredLanguages, logger, command);
    if (!applications) {
        co_return 1;
    }

    QTextStream output(stdout);
    if (parser.isSet(jsonOption)) {
        output << jsonArrayText(*applications, bundleJson);
    } else {
        output << applicationTable(*applications);
    }
    co_return 0;
}

}  // namespace tarnel
