#include "store_state.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <stdexcept>

namespace tarnel::fakemas {

namespace {

QString statePath(const QString& folder) {
    return folder + QStringLiteral("/state.json");
}

[[noreturn]] void fail(const QString& message) {
    throw std::runtime_error(message.toStdString());
}

QJsonArray appsToJson(const QList<StoreState::App>& apps) {
    QJsonArray array;
    for (const StoreState::App& app : apps) {
        QJsonObject object{{QStringLiteral("id"), app.id},
                           {QStringLiteral("name"), app.name},
                           {QStringLiteral("version"), app.version}};
        if (!app.bundlePath.isEmpty()) {
            object.insert(QStringLiteral("bundlePath"), app.bundlePath);
        }
        array.append(object);
    }
    return array;
}

QJsonArray updatesToJson(const QList<StoreState::Update>& updates) {
    QJsonArray array;
    for (const StoreState::Update& update : updates) {
        array.append(QJsonObject{{QStringLiteral("id"), update.id},
                                 {QStringLiteral("version"), update.version}});
    }
    return array;
}

// Each raw line is followed by a newline; the base64 bytes come after them as they are.
QByteArray rawOutputOf(const QJsonObject& behaviour) {
    QByteArray bytes;
    for (const QJsonValue& line : behaviour.value(QStringLiteral("rawLines")).toArray()) {
        bytes += line.toString().toUtf8() + '\n';
    }
    bytes +=
        QByteArray::fromBase64(behaviour.value(QStringLiteral("rawBase64")).toString().toLatin1());
    return bytes;
}

}  // namespace

StoreState StoreState::load(const QString& folder) {
    QFile file(statePath(folder));
    if (!file.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString()));
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (!document.isObject()) {
        fail(QStringLiteral("%1 is not a JSON object: %2")
                 .arg(file.fileName(), error.errorString()));
    }
    const QJsonObject root = document.object();
    StoreState state;
    for (const QJsonValue& value : root.value(QStringLiteral("installed")).toArray()) {
        const QJsonObject app = value.toObject();
        state.installed.append(App{app.value(QStringLiteral("id")).toString(),
                                   app.value(QStringLiteral("name")).toString(),
                                   app.value(QStringLiteral("version")).toString(),
                                   app.value(QStringLiteral("bundlePath")).toString()});
    }
    for (const QJsonValue& value : root.value(QStringLiteral("updates")).toArray()) {
        const QJsonObject update = value.toObject();
        state.updates.append(Update{update.value(QStringLiteral("id")).toString(),
                                    update.value(QStringLiteral("version")).toString()});
    }
    state.commands = root.value(QStringLiteral("commands")).toObject();
    return state;
}

void StoreState::save(const QString& folder) const {
    const QJsonObject root{{QStringLiteral("installed"), appsToJson(installed)},
                           {QStringLiteral("updates"), updatesToJson(updates)},
                           {QStringLiteral("commands"), commands}};
    QSaveFile file(statePath(folder));
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(QJsonDocument(root).toJson(QJsonDocument::Indented)) < 0 || !file.commit()) {
        fail(QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString()));
    }
}

StoreState::Behaviour StoreState::behaviourOf(const QString& command) const {
    const QJsonObject object = commands.value(command).toObject();
    Behaviour behaviour;
    behaviour.readsStandardInput = object.value(QStringLiteral("readsStandardInput")).toBool();
    behaviour.heldUntil = object.value(QStringLiteral("heldUntil")).toString();
    behaviour.delay =
        std::chrono::milliseconds(object.value(QStringLiteral("delayMilliseconds")).toInteger());
    if (object.contains(QStringLiteral("failure"))) {
        const QJsonObject failure = object.value(QStringLiteral("failure")).toObject();
        behaviour.failureStatus = failure.value(QStringLiteral("status")).toInt(1);
        behaviour.failureStandardOutput =
            failure.value(QStringLiteral("stdout")).toString().toUtf8();
        behaviour.failureStandardError =
            failure.value(QStringLiteral("stderr")).toString().toUtf8();
    }
    if (object.contains(QStringLiteral("rawLines")) ||
        object.contains(QStringLiteral("rawBase64"))) {
        behaviour.rawOutput = rawOutputOf(object);
    }
    return behaviour;
}

qsizetype StoreState::indexOfApp(const QString& id) const {
    for (qsizetype index = 0; index < installed.size(); ++index) {
        if (installed[index].id == id) {
            return index;
        }
    }
    return -1;
}

}  // namespace tarnel::fakemas
