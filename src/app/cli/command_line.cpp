#include "app/cli/command_line.h"

#include "app/console/command_parser.h"
#include "app/console/standard_output.h"
#include "discovery/applications_folder_reader.h"
#include "discovery/directory_listing_error.h"

#include <cstdio>
#include <utility>

namespace tarnel {

QString commandName(const QString& command) {
    return QStringLiteral("tarnel-cli ") + command;
}

void reportCommandFailure(const QString& command, const QString& problem, LineBreaks lineBreaks) {
    // A problem may quote a tool's output or a path from the applications
    // folder, which must not act on the terminal.
    std::fprintf(stderr, "%s: %s\n", commandName(command).toUtf8().constData(),
                 printableText(problem, lineBreaks).toUtf8().constData());
}

int printCommandResult(const QString& command, const QByteArray& result) {
    return writeStandardOutput(result, commandName(command)) ? 0 : 1;
}

QString failureDescription(std::exception_ptr failure) {
    try {
        std::rethrow_exception(std::move(failure));
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    } catch (...) {
        return QStringLiteral("an unknown error");
    }
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

QCommandLineOption jsonOption() {
    return QCommandLineOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
}

QCommandLineOption verboseOption() {
    return QCommandLineOption(QStringLiteral("verbose"),
                              QStringLiteral("Print log lines on standard error."));
}

LogSink logSinkFor(const CommandParser& parser) {
    if (!parser.isSet(verboseOption())) {
        return {};
    }
    return [](LogLevel, const QString& line) {
        std::fprintf(stderr, "%s\n", line.toUtf8().constData());
    };
}

}  // namespace tarnel
