#include "command_behaviour.h"

namespace fakebrew {

namespace {

// A text given either plainly or, for bytes that are no valid UTF-8, in base64.
QByteArray bytesAt(const QJsonObject& object, const QString& key) {
    const QJsonValue encoded = object.value(key + QStringLiteral("Base64"));
    if (encoded.isString()) {
        return QByteArray::fromBase64(encoded.toString().toLatin1());
    }
    return object.value(key).toString().toUtf8();
}

}  // namespace

CommandBehaviour CommandBehaviour::fromJson(const QJsonObject& object) {
    CommandBehaviour behaviour;
    if (object.value(QStringLiteral("exitStatus")).isDouble()) {
        behaviour.exitStatus = object.value(QStringLiteral("exitStatus")).toInt();
    }
    behaviour.standardOutput = bytesAt(object, QStringLiteral("standardOutput"));
    behaviour.standardError = bytesAt(object, QStringLiteral("standardError"));
    behaviour.delayMilliseconds = object.value(QStringLiteral("delayMilliseconds")).toInt();
    behaviour.outputMegabytes = object.value(QStringLiteral("outputMegabytes")).toInt();
    if (object.value(QStringLiteral("password")).isString()) {
        behaviour.password = object.value(QStringLiteral("password")).toString();
    }
    return behaviour;
}

}  // namespace fakebrew
