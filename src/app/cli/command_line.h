#pragma once

#include "core/records/application.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

class Logger;

// What the commands share: the words of their failures go to standard error
// as "tarnel-cli {command}: {problem}", so that standard output stays the result.

// "tarnel-cli {command}", as the command's failures begin.
QString commandName(const QString& command);

// Prints one failure of `command`.
void reportCommandFailure(const QString& command, const QString& problem);

// Prints the result of `command` and gives the run's exit status: 0, or 1
// when the result could not be written whole.
int printCommandResult(const QString& command, const QByteArray& result);

// Reads every bundle in `root`; when the folder cannot be listed it says so
// and gives nothing.
QCoro::Task<std::optional<QList<Application>>> readApplicationsForCommand(
    QString root, QStringList preferredLanguages, Logger& logger, QString command);

// The one application of the layout's applications folder that `query`
// names (see chooseApplication); when there is none, or several, it says so
// and gives nothing.
QCoro::Task<std::optional<Application>> chooseApplicationForCommand(QString root,
                                                                    QStringList preferredLanguages,
                                                                    Logger& logger, QString command,
                                                                    QString query);

}  // namespace tarnel
