#include "core/settings_file_format.h"

#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tarnel {

namespace {

const QString dataMarker = QStringLiteral("$data");

QVariant fromJson(const QJsonValue& value) {
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        const bool allText = std::all_of(array.begin(), array.end(),
                                         [](const QJsonValue& entry) { return entry.isString(); });
        if (allText) {
            QStringList list;
            for (const QJsonValue& entry : array) {
                list.append(entry.toString());
            }
            return list;
        }
        return array.toVariantList();
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        if (object.size() == 1 && object.value(dataMarker).isString()) {
            return QByteArray::fromBase64(object.value(dataMarker).toString().toLatin1());
        }
        return object.toVariantMap();
    }
    return value.toVariant();
}

QJsonValue toJson(const QVariant& value) {
    if (value.typeId() == QMetaType::QByteArray) {
        return QJsonObject{{dataMarker, QString::fromLatin1(value.toByteArray().toBase64())}};
    }
    return QJsonValue::fromVariant(value);
}

}  // namespace

bool readSettingsFile(QIODevice& device, QSettings::SettingsMap& map) {
    const QByteArray bytes = device.readAll();
    if (bytes.trimmed().isEmpty()) {
        return true;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return false;
    }
    const QJsonObject object = document.object();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        map.insert(entry.key(), fromJson(entry.value()));
    }
    return true;
}

namespace {

bool writeSettingsFile(QIODevice& device, const QSettings::SettingsMap& map) {
    QJsonObject object;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        object.insert(entry.key(), toJson(entry.value()));
    }
    return device.write(QJsonDocument(object).toJson()) >= 0;
}

}  // namespace

QSettings::Format settingsFileFormat() {
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("json"), readSettingsFile, writeSettingsFile);
    return format;
}

}  // namespace tarnel
