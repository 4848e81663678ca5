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

QJsonObject CommandBehaviour::toJson() const {
    // Base64 carries any bytes, also those that are no valid UTF-8.
    QJsonObject object{
        {QStringLiteral("standardOutputBase64"), QString::fromLatin1(standardOutput.toBase64())},
        {QStringLiteral("standardErrorBase64"), QString::fromLatin1(standardError.toBase64())},
        {QStringLiteral("delayMilliseconds"), delayMilliseconds},
        {QStringLiteral("outputMegabytes"), outputMegabytes},
    };
    if (exitStatus) {
        object.insert(QStringLiteral("exitStatus"), *exitStatus);
    }
    if (password) {
        object.insert(QStringLiteral("password"), *password);
    }
    if (!heldUntil.isEmpty()) {
        object.insert(QStringLiteral("heldUntil"), heldUntil);
    }
    return object;
}

CommandBehaviour CommandBehaviour::fromJson(const QJsonObject& object) {
    CommandBehaviour behaviour;
    if (object.value(QStringLiteral("exitStatus")).isDouble()) {
        behaviour.exitStatus = object.value(QStringLiteral("exitStatus")).toInt();
    }
    behaviour.standardOutput = bytesAt(object, QStringLiteral("standardOutput"));
    behaviour.standardError = bytesAt(object, QStringLiteral("standardError"));
    behaviour.heldUntil = object.value(QStringLiteral("heldUntil")).toString();
    behaviour.delayMilliseconds = object.value(QStringLiteral("delayMilliseconds")).toInt();
    behaviour.outputMegabytes = object.value(QStringLiteral("outputMegabytes")).toInt();
    if (object.value(QStringLiteral("password")).isString()) {
        behaviour.password = object.value(QStringLiteral("password")).toString();
    }
    return behaviour;
}

}  // namespace fakebrew
