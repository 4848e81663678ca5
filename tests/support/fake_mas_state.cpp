#include "support/fake_mas_state.h"

#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <stdexcept>
#include <utility>

namespace {

QString statePath(const QString& folder) {
    return folder + QStringLiteral("/state.json");
}

[[noreturn]] void fail(const QString& message) {
    throw std::runtime_error(message.toStdString());
}

}  // namespace

FakeMasState::FakeMasState(QString folder) : stateFolder(std::move(folder)) {
    QDir().mkpath(stateFolder);
    write(QJsonObject{{QStringLiteral("installed"), QJsonArray()},
                      {QStringLiteral("updates"), QJsonArray()},
                      {QStringLiteral("commands"), QJsonObject()}});
}

void FakeMasState::installTool(const QString& path) const {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile sidecar(path + QStringLiteral(".state"));
    if (!QFile::link(toolPath(QStringLiteral("fake-mas")), path) ||
        !sidecar.open(QIODevice::WriteOnly) || sidecar.write(stateFolder.toUtf8()) < 0) {
        fail(QStringLiteral("cannot place the tool at %1").arg(path));
    }
}

void FakeMasState::addInstalledApp(const QString& id, const QString& name, const QString& version,
                                   const QString& bundlePath) {
    QJsonObject app{{QStringLiteral("id"), id},
                    {QStringLiteral("name"), name},
                    {QStringLiteral("version"), version}};
    if (!bundlePath.isEmpty()) {
        app.insert(QStringLiteral("bundlePath"), bundlePath);
    }
    appendTo(QStringLiteral("installed"), app);
}

void FakeMasState::addUpdate(const QString& id, const QString& availableVersion) {
    appendTo(QStringLiteral("updates"), QJsonObject{{QStringLiteral("id"), id},
                                                    {QStringLiteral("version"), availableVersion}});
}

void FakeMasState::failCommand(const QString& command, int status, const QString& standardOutput,
                               const QString& standardError) {
    setBehaviour(command, QStringLiteral("failure"),
                 QJsonObject{{QStringLiteral("status"), status},
                             {QStringLiteral("stdout"), standardOutput},
                             {QStringLiteral("stderr"), standardError}});
}

void FakeMasState::delayCommand(const QString& command, std::chrono::milliseconds delay) {
    setBehaviour(command, QStringLiteral("delayMilliseconds"), static_cast<qint64>(delay.count()));
}

void FakeMasState::readStandardInput(const QString& command) {
    setBehaviour(command, QStringLiteral("readsStandardInput"), true);
}

void FakeMasState::holdCommand(const QString& command) {
    QFile::remove(releaseFile(command));
    setBehaviour(command, QStringLiteral("heldUntil"), releaseFile(command));
}

void FakeMasState::releaseCommand(const QString& command) const {
    QFile release(releaseFile(command));
    if (!release.open(QIODevice::WriteOnly)) {
        fail(QStringLiteral("cannot release %1").arg(command));
    }
}

void FakeMasState::setRawLines(const QString& command, const QStringList& lines) {
    setBehaviour(command, QStringLiteral("rawLines"), QJsonArray::fromStringList(lines));
}

void FakeMasState::setRawOutput(const QString& command, const QByteArray& bytes) {
    setBehaviour(command, QStringLiteral("rawBase64"), QString::fromLatin1(bytes.toBase64()));
}

void FakeMasState::resetCommand(const QString& command) {
    QJsonObject state = read();
    QJsonObject commands = state.value(QStringLiteral("commands")).toObject();
    commands.remove(command);
    state.insert(QStringLiteral("commands"), commands);
    write(state);
}

QList<FakeMasState::Invocation> FakeMasState::invocations() const {
    QList<Invocation> result;
    QFile log(stateFolder + QStringLiteral("/invocations.jsonl"));
    if (!log.open(QIODevice::ReadOnly)) {
        return result;
    }
    for (const QByteArray& line : log.readAll().split('\n')) {
        if (line.isEmpty()) {
            continue;
        }
        const QJsonObject entry = QJsonDocument::fromJson(line).object();
        QStringList arguments;
        for (const QJsonValue& argument : entry.value(QStringLiteral("arguments")).toArray()) {
            arguments.append(argument.toString());
        }
        result.append(Invocation{arguments, entry.value(QStringLiteral("start")).toInteger(),
                                 entry.value(QStringLiteral("end")).toInteger(),
                                 entry.value(QStringLiteral("status")).toInt()});
    }
    return result;
}

QJsonObject FakeMasState::read() const {
    QFile file(statePath(stateFolder));
    if (!file.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("cannot read %1").arg(file.fileName()));
    }
    return QJsonDocument::fromJson(file.readAll()).object();
}

void FakeMasState::write(const QJsonObject& state) const {
    QFile file(statePath(stateFolder));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(QJsonDocument(state).toJson()) < 0) {
        fail(QStringLiteral("cannot write %1").arg(file.fileName()));
    }
}

void FakeMasState::appendTo(const QString& list, const QJsonObject& entry) {
    QJsonObject state = read();
    QJsonArray entries = state.value(list).toArray();
    entries.append(entry);
    state.insert(list, entries);
    write(state);
}

void FakeMasState::setBehaviour(const QString& command, const QString& key,
                                const QJsonValue& value) {
    QJsonObject state = read();
    QJsonObject commands = state.value(QStringLiteral("commands")).toObject();
    QJsonObject behaviour = commands.value(command).toObject();
    behaviour.insert(key, value);
    commands.insert(command, behaviour);
    state.insert(QStringLiteral("commands"), commands);
    write(state);
}

QString FakeMasState::releaseFile(const QString& command) const {
    return stateFolder + QStringLiteral("/release-") + command;
}
