#include "brew_state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLockFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace fakebrew {

namespace {

QJsonDocument readJson(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QJsonDocument::fromJson(file.readAll());
}

void writeJson(const QString& path, const QJsonObject& object) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(object).toJson());
        file.commit();
    }
}

// Holds the state folder's lock for one read-modify-write.
class StateLock {
public:
    explicit StateLock(const QString& path) : lock(path) { lock.lock(); }

private:
    QLockFile lock;
};

}  // namespace

std::optional<QString> BrewState::locateFolder(const QString& calledAs) {
    const QString fromEnvironment = qEnvironmentVariable("TARNEL_FAKE_BREW_STATE");
    if (!fromEnvironment.isEmpty()) {
        return fromEnvironment;
    }
    // Called through the search path, the name alone says where it lies. The
    // link itself is what counts, never its target.
    QString program = calledAs;
    if (!program.contains(u'/')) {
        program = QStandardPaths::findExecutable(program);
    }
    QFile pointer(program + QStringLiteral(".state"));
    if (program.isEmpty() || !pointer.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QString named = QString::fromUtf8(pointer.readAll()).trimmed();
    return QFileInfo(program).dir().absoluteFilePath(named);
}

BrewState::BrewState(QString folder)
    : folder(std::move(folder)), settings(readJson(path(QStringLiteral("state.json"))).object()) {}

QString BrewState::path(const QString& name) const {
    return QDir(folder).filePath(name);
}

QString BrewState::versionText() const {
    const QString text = settings.value(QStringLiteral("versionText")).toString();
    return text.isEmpty() ? QStringLiteral("Homebrew 4.5.0") : text;
}

QString BrewState::applicationsDirectory() const {
    return settings.value(QStringLiteral("applicationsDirectory")).toString();
}

CommandBehaviour BrewState::takeBehaviour(const QString& command) {
    const QJsonValue configured =
        settings.value(QStringLiteral("commands")).toObject().value(command);
    if (configured.isObject()) {
        return CommandBehaviour::fromJson(configured.toObject());
    }
    const QJsonArray sequence = configured.toArray();
    if (sequence.isEmpty()) {
        return {};
    }
    int index = 0;
    {
        StateLock lock(path(QStringLiteral("fake-brew.lock")));
        const QString countsPath = path(QStringLiteral("counts.json"));
        QJsonObject counts = readJson(countsPath).object();
        index = counts.value(command).toInt();
        counts.insert(command, index + 1);
        writeJson(countsPath, counts);
    }
    return CommandBehaviour::fromJson(
        sequence.at(std::min<int>(index, sequence.size() - 1)).toObject());
}

std::optional<QJsonObject> BrewState::cask(const QString& token) const {
    if (!casks) {
        casks = readJson(path(QStringLiteral("casks.json"))).array();
    }
    for (const QJsonValue& entry : *casks) {
        if (entry.toObject().value(QStringLiteral("token")).toString() == token) {
            return entry.toObject();
        }
    }
    return std::nullopt;
}

QMap<QString, QString> BrewState::installedCasks() const {
    QMap<QString, QString> installed;
    const QJsonObject object = readJson(path(QStringLiteral("installed.json"))).object();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        installed.insert(entry.key(), entry.value().toString());
    }
    return installed;
}

void BrewState::setInstalledVersion(const QString& token, const QString& version) {
    StateLock lock(path(QStringLiteral("fake-brew.lock")));
    const QString installedPath = path(QStringLiteral("installed.json"));
    QJsonObject installed = readJson(installedPath).object();
    installed.insert(token, version);
    writeJson(installedPath, installed);
}

void BrewState::appendInvocation(const QJsonObject& record) {
    StateLock lock(path(QStringLiteral("fake-brew.lock")));
    QFile log(path(QStringLiteral("invocations.jsonl")));
    if (log.open(QIODevice::WriteOnly | QIODevice::Append)) {
        log.write(QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n');
    }
}

}  // namespace fakebrew
