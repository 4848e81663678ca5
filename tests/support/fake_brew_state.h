#pragma once

#include "command_behaviour.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

// How one invocation of a fake-brew command behaves besides its work.
using FakeBrewBehaviour = fakebrew::CommandBehaviour;

// One line of fake-brew's invocation log.
struct FakeBrewInvocation {
    QStringList arguments;
    QString workingDirectory;
    // Every recorded variable; an unset one holds nothing.
    QMap<QString, std::optional<QString>> environment;
    qint64 startedAt = 0;
    qint64 endedAt = 0;
    int exitStatus = 0;
};

// Writes a state folder for fake-brew and reads back what it recorded. Each
// setter writes through at once.
class FakeBrewState {
public:
    explicit FakeBrewState(QString folder);

    const QString& folder() const { return stateFolder; }

    // Places a link to fake-brew at `brewPath`, with "<name>.state" beside it
    // naming this folder, the way a sandbox does.
    void installAt(const QString& brewPath) const;

    void setVersionText(const QString& text);
    void setApplicationsDirectory(const QString& path);
    void addCask(const QJsonObject& cask);
    // Adds a cask object from a JSON file, such as one of the shared casks.
    void addCaskFromFile(const QString& path);
    void setInstalledVersion(const QString& token, const QString& version);
    // Every invocation of `command` (its first argument, such as "install").
    void setBehaviour(const QString& command, const FakeBrewBehaviour& behaviour);
    // The n-th invocation of `command` takes the n-th behaviour; the last repeats.
    void setBehaviours(const QString& command, const QList<FakeBrewBehaviour>& behaviours);

    QList<FakeBrewInvocation> invocations() const;
    // Those whose first argument is `command`, such as "outdated".
    QList<FakeBrewInvocation> invocationsOf(const QString& command) const;
    // The invocation log as it stands on disk.
    QByteArray invocationLog() const;

private:
    void writeSettings() const;

    QString stateFolder;
    QJsonObject settings;
    QJsonArray casks;
    QJsonObject installed;
};
