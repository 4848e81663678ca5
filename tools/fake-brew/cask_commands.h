#pragma once

#include "command_outcome.h"

#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QStringList>

namespace fakebrew {

class BrewState;

// The work of each command the program uses, done on the state folder and
// the applications folder it names.
class CaskCommands {
public:
    explicit CaskCommands(BrewState& state);

    CommandOutcome run(const QStringList& arguments);

private:
    struct Request {
        QString command;
        QSet<QString> options;
        QStringList tokens;
    };

    CommandOutcome list(const Request& request);
    CommandOutcome install(const Request& request);
    CommandOutcome adopt(const QString& token, const QJsonObject& cask);
    CommandOutcome forceInstall(const QString& token, const QJsonObject& cask);
    CommandOutcome outdated(const Request& request);
    CommandOutcome upgrade(const Request& request);
    QString bundlePath(const QJsonObject& cask) const;

    BrewState& state;
};

}  // namespace fakebrew
