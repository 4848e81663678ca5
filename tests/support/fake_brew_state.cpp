#include "support/fake_brew_state.h"

#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

namespace {

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size()) {
        qFatal("Cannot write %s", qPrintable(path));
    }
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

FakeBrewState::FakeBrewState(QString folder) : stateFolder(std::move(folder)) {
    QDir().mkpath(stateFolder);
    writeSettings();
}

void FakeBrewState::installAt(const QString& brewPath) const {
    QDir().mkpath(QFileInfo(brewPath).path());
    QFile::remove(brewPath);
    if (!QFile::link(toolPath(QStringLiteral("fake-brew")), brewPath)) {
        qFatal("Cannot link fake-brew at %s", qPrintable(brewPath));
    }
    writeFile(brewPath + QStringLiteral(".state"), stateFolder.toUtf8());
}

void FakeBrewState::writeSettings() const {
    writeFile(QDir(stateFolder).filePath(QStringLiteral("state.json")),
              QJsonDocument(settings).toJson());
}

void FakeBrewState::setVersionText(const QString& text) {
    settings.insert(QStringLiteral("versionText"), text);
    writeSettings();
}

void FakeBrewState::setApplicationsDirectory(const QString& path) {
    settings.insert(QStringLiteral("applicationsDirectory"), path);
    writeSettings();
}

void FakeBrewState::addCask(const QJsonObject& cask) {
    casks.append(cask);
    writeFile(QDir(stateFolder).filePath(QStringLiteral("casks.json")),
              QJsonDocument(casks).toJson(QJsonDocument::Compact));
}

void FakeBrewState::addCaskFromFile(const QString& path) {
    addCask(QJsonDocument::fromJson(readFile(path)).object());
}

void FakeBrewState::setInstalledVersion(const QString& token, const QString& version) {
    installed.insert(token, version);
    writeFile(QDir(stateFolder).filePath(QStringLiteral("installed.json")),
              QJsonDocument(installed).toJson());
}

void FakeBrewState::setBehaviour(const QString& command, const FakeBrewBehaviour& behaviour) {
    QJsonObject commands = settings.value(QStringLiteral("commands")).toObject();
    commands.insert(command, behaviour.toJson());
    settings.insert(QStringLiteral("commands"), commands);
    writeSettings();
}

void FakeBrewState::setBehaviours(const QString& command,
                                  const QList<FakeBrewBehaviour>& behaviours) {
    QJsonArray sequence;
    for (const FakeBrewBehaviour& behaviour : behaviours) {
        sequence.append(behaviour.toJson());
    }
    QJsonObject commands = settings.value(QStringLiteral("commands")).toObject();
    commands.insert(command, sequence);
    settings.insert(QStringLiteral("commands"), commands);
    writeSettings();
}

QByteArray FakeBrewState::invocationLog() const {
    return readFile(QDir(stateFolder).filePath(QStringLiteral("invocations.jsonl")));
}

QList<FakeBrewInvocation> FakeBrewState::invocationsOf(const QString& command) const {
    QList<FakeBrewInvocation> runs;
    for (const FakeBrewInvocation& invocation : invocations()) {
        if (invocation.arguments.value(0) == command) {
            runs.append(invocation);
        }
    }
    return runs;
}

QList<FakeBrewInvocation> FakeBrewState::invocations() const {
    QList<FakeBrewInvocation> result;
    for (const QByteArray& line : invocationLog().split('\n')) {
        if (line.trimmed().isEmpty()) {
            continue;
        }
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        FakeBrewInvocation invocation;
        for (const QJsonValue& argument : object.value(QStringLiteral("arguments")).toArray()) {
            invocation.arguments.append(argument.toString());
        }
        invocation.workingDirectory = object.value(QStringLiteral("workingDirectory")).toString();
        const QJsonObject environment = object.value(QStringLiteral("environment")).toObject();
        for (auto entry = environment.begin(); entry != environment.end(); ++entry) {
            invocation.environment.insert(entry.key(),
                                          entry.value().isString()
                                              ? std::optional<QString>(entry.value().toString())
                                              : std::nullopt);
        }
        invocation.startedAt = object.value(QStringLiteral("startedAt")).toInteger();
        invocation.endedAt = object.value(QStringLiteral("endedAt")).toInteger();
        invocation.exitStatus = object.value(QStringLiteral("exitStatus")).toInt();
        result.append(invocation);
    }
    return result;
}
