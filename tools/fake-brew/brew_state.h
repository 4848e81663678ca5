#pragma once

#include "command_behaviour.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

#include <optional>

namespace fakebrew {

// The state folder: what the fake knows (settings, casks, installed casks)
// and what it records (invocation counts, the invocation log). Every change
// is made under a lock file, since several fakes may run at once.
class BrewState {
public:
    // The folder named by `TARNEL_FAKE_BREW_STATE`, else by the file
    // "<name>.state" beside the program as it was called.
    static std::optional<QString> locateFolder(const QString& calledAs);

    explicit BrewState(QString folder);

    QString versionText() const;
    QString applicationsDirectory() const;
    // The behaviour of this invocation of the command: the n-th invocation
    // takes the n-th entry of a list, the last entry repeating.
    CommandBehaviour takeBehaviour(const QString& command);

    std::optional<QJsonObject> cask(const QString& token) const;
    // Token to installed version.
    QMap<QString, QString> installedCasks() const;
    void setInstalledVersion(const QString& token, const QString& version);

    void appendInvocation(const QJsonObject& record);

private:
    QString path(const QString& name) const;

    QString folder;
    QJsonObject settings;
    mutable std::optional<QJsonArray> casks;
};

}  // namespace fakebrew
