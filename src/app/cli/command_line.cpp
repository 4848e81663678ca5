#include "app/cli/command_line.h"

#include "discovery/applications_folder_reader.h"
#include "discovery/directory_listing_error.h"

#include <QTextStream>

namespace tarnel {

bool parseCommandLine(QCommandLineParser& parser, const QStringList& arguments,
                      const QString& command) {
    if (!parser.parse(arguments)) {
        reportCommandFailure(command, parser.errorText());
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        reportCommandFailure(command, QStringLiteral("Unexpected argument: %1")
                                          .arg(parser.positionalArguments().constFirst()));
        return false;
    }
    return true;
}

void reportCommandFailure(const QString& command, const QString& problem) {
    QTextStream(stderr) << "tarnel-cli " << command << ": " << problem << '\n';
}

QCoro::Task<std::optional<QList<Application>>> readApplicationsForCommand(
    QString root, QStringList preferredLanguages, Logger& logger, QString command) {
    try {
        co_return co_await readApplicationsFolder(root, preferredLanguages, logger);
    } catch (const DirectoryListingError& error) {
        reportCommandFailure(command, QStringLiteral("cannot read the applications folder %1: %2")
                                          .arg(error.path(), error.reason()));
    }
    co_return std::nullopt;
}

}  // namespace tarnel
