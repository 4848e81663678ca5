#include "core/settings_store.h"

#include "core/settings_file_format.h"

#include <QMutexLocker>
#include <QSettings>

namespace tarnel {

namespace {

bool isTrueText(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0 ||
        trimmed.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0) {
        return true;
    }
    bool isNumber = false;
    const qlonglong number = trimmed.toLongLong(&isNumber);
    return isNumber && number != 0;
}

bool isNumber(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
            return true;
        default:
            return false;
    }
}

}  // namespace

SettingsStore::SettingsStore(const QString& filePath)
    : SettingsStore(std::make_unique<QSettings>(filePath, settingsFileFormat())) {}

SettingsStore::SettingsStore(std::unique_ptr<QSettings> settings) : settings(std::move(settings)) {
    // The file is read as the store opens; one that fails reads as empty.
    if (this->settings->status() == QSettings::FormatError) {
        unparsableFilePath = this->settings->fileName();
    }
}

SettingsStore::~SettingsStore() = default;

std::unique_ptr<SettingsStore> SettingsStore::open(const QString& filePath) {
    if (filePath.isEmpty()) {
        return openPlatformStore();
    }
    return std::make_unique<SettingsStore>(filePath);
}

QVariant SettingsStore::read(const QString& key) const {
    QMutexLocker lock(&mutex);
    return settings->value(key);
}

void SettingsStore::write(const QString& key, const QVariant& value) {
    QMutexLocker lock(&mutex);
    settings->setValue(key, value);
    settings->sync();
}

bool SettingsStore::boolValue(const QString& key) const {
    const QVariant value = read(key);
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool();
    }
    if (isNumber(value)) {
        return value.toDouble() != 0.0;
    }
    if (value.typeId() == QMetaType::QString) {
        return isTrueText(value.toString());
    }
    return false;
}

std::optional<QString> SettingsStore::stringValue(const QString& key) const {
    const QVariant value = read(key);
    if (value.typeId() == QMetaType::QString || isNumber(value)) {
        return value.toString();
    }
    return std::nullopt;
}

std::optional<QStringList> SettingsStore::stringListValue(const QString& key) const {
    const QVariant value = read(key);
    if (value.typeId() == QMetaType::QStringList) {
        return value.toStringList();
    }
    if (value.typeId() != QMetaType::QVariantList) {
        return std::nullopt;
    }
    QStringList list;
    for (const QVariant& entry : value.toList()) {
        if (entry.typeId() != QMetaType::QString) {
            return std::nullopt;
        }
        list.append(entry.toString());
    }
    return list;
}

std::optional<QByteArray> SettingsStore::dataValue(const QString& key) const {
    const QVariant value = read(key);
    if (value.typeId() == QMetaType::QByteArray) {
        return value.toByteArray();
    }
    return std::nullopt;
}

bool SettingsStore::contains(const QString& key) const {
    QMutexLocker lock(&mutex);
    return settings->contains(key);
}

void SettingsStore::setBool(const QString& key, bool value) {
    write(key, value);
}

void SettingsStore::setString(const QString& key, const QString& value) {
    write(key, value);
}

void SettingsStore::setStringList(const QString& key, const QStringList& value) {
    write(key, value);
}

void SettingsStore::setData(const QString& key, const QByteArray& value) {
    write(key, value);
}

void SettingsStore::remove(const QString& key) {
    QMutexLocker lock(&mutex);
    settings->remove(key);
    settings->sync();
}

}  // namespace tarnel
