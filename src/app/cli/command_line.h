#pragma once

#include "core/logger.h"
#include "core/printable_text.h"
#include "core/records/application.h"

#include <QByteArray>
#include <QCommandLineOption>
#include <QList>
#include <QString>
#include <QStringList>

#include <exception>
#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class CommandParser;

// What the commands share: the words of their failures go to standard error
// as "tarnel-cli {command}: {problem}", so that standard output stays the result.

// "tarnel-cli {command}", as the command's failures begin.
QString commandName(const QString& command);

// Prints one failure of `command`, shown escaped (see printableText); a
// problem of our own words may keep its line breaks.
void reportCommandFailure(const QString& command, const QString& problem,
                          LineBreaks lineBreaks = LineBreaks::escaped);

// Prints the result of `command` and gives the run's exit status: 0, or 1
// when the result could not be written whole.
int printCommandResult(const QString& command, const QByteArray& result);

// The description of the error that `failure` holds.
QString failureDescription(std::exception_ptr failure);

// Reads every bundle in `root`; when the folder cannot be listed it says so
// and gives nothing.
QCoro::Task<std::optional<QList<Application>>> readApplicationsForCommand(
    QString root, QStringList preferredLanguages, Logger& logger, QString command);

// `--json`, which every listing command takes.
QCommandLineOption jsonOption();
// `--verbose`, which every command that logs takes.
QCommandLineOption verboseOption();
// The log lines on standard error when `--verbose` was given, else nowhere,
// so that standard output stays the result.
LogSink logSinkFor(const CommandParser& parser);

}  // namespace tarnel
