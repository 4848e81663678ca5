#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>

// Writes the state that the fake-mas tool answers from, and reads back what
// the tool was asked. Every change is written at once.
class FakeMasState {
public:
    // One run of the tool, as its log records it; times in microseconds since the epoch.
    struct Invocation {
        QStringList arguments;
        qint64 start = 0;
        qint64 end = 0;
        int status = 0;
    };

    explicit FakeMasState(QString folder);

    // Places the tool at `path` as a link, with "<path>.state" naming this state.
    void installTool(const QString& path) const;

    void addInstalledApp(const QString& id, const QString& name, const QString& version,
                         const QString& bundlePath = {});
    void addUpdate(const QString& id, const QString& availableVersion);
    // `command` is "list", "outdated" or "upgrade".
    void failCommand(const QString& command, int status, const QString& standardOutput,
                     const QString& standardError);
    void delayCommand(const QString& command, std::chrono::milliseconds delay);
    // The command reads its standard input to the end before it answers.
    void readStandardInput(const QString& command);
    // The command runs on without answering until `releaseCommand`.
    void holdCommand(const QString& command);
    void releaseCommand(const QString& command) const;
    // The command answers with these lines instead, each with a newline, and changes nothing.
    void setRawLines(const QString& command, const QStringList& lines);
    // The command answers with exactly these bytes instead, and changes nothing.
    void setRawOutput(const QString& command, const QByteArray& bytes);
    // Takes back every failure, delay and raw answer of the command.
    void resetCommand(const QString& command);

    QList<Invocation> invocations() const;
    const QString& folder() const { return stateFolder; }

private:
    QJsonObject read() const;
    void write(const QJsonObject& state) const;
    void appendTo(const QString& list, const QJsonObject& entry);
    void setBehaviour(const QString& command, const QString& key, const QJsonValue& value);
    QString releaseFile(const QString& command) const;

    QString stateFolder;
};
