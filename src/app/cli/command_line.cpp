#include "app/cli/command_line.h"

#include "app/cli/application_choice.h"

#include "app/console/standard_output.h"
#include "core/printable_text.h"
#include "discovery/applications_folder_reader.h"
#include "discovery/directory_listing_error.h"

#include <cstdio>

namespace tarnel {

QString commandName(const QString& command) {
    return QStringLiteral("tarnel-cli ") + command;
}

void reportCommandFailure(const QString& command, const QString& problem) {
    // A problem may quote a tool's output or a path from the applications
    // folder, which must not act on the terminal.
    std::fprintf(stderr, "%s: %s\n", commandName(command).toUtf8().constData(),
                 printableText(problem).toUtf8().constData());
}

int printCommandResult(const QString& command, const QByteArray& result) {
    return writeStandardOutput(result, commandName(command)) ? 0 : 1;
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

QCoro::Task<std::optional<Application>> chooseApplicationForCommand(QString root,
                                                                    QStringList preferredLanguages,
                                                                    Logger& logger, QString command,
                                                                    QString query) {
    const auto applications =
        co_await readApplicationsForCommand(root, preferredLanguages, logger, command);
    if (!applications) {
        co_return std::nullopt;
    }
    auto choice = chooseApplication(*applications, query);
    if (const auto* problem = std::get_if<QString>(&choice)) {
        reportCommandFailure(command, *problem);
        co_return std::nullopt;
    }
    co_return std::get<Application>(std::move(choice));
}

}  // namespace tarnel
