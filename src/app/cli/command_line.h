#pragma once

#include "core/records/application.h"

#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class Logger;

// What the commands share: the words of their failures go to standard error
// as "tarnel-cli {command}: {problem}", so that standard output stays the result.

// Parses the command's arguments, which take options only. On a problem it
// says so and gives false.
bool parseCommandLine(QCommandLineParser& parser, const QStringList& arguments,
                      const QString& command);

// Prints one failure of `command`.
void reportCommandFailure(const QString& command, const QString& problem);

// Reads every bundle in `root`; when the folder cannot be listed it says so
// and gives nothing.
QCoro::Task<std::optional<QList<Application>>> readApplicationsForCommand(
    QString root, QStringList preferredLanguages, Logger& logger, QString command);

}  // namespace tarnel
