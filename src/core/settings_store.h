#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <optional>

class QSettings;

namespace tarnel {

// The user defaults: a typed key-value store that every reader queries
// directly. A value of another type than asked reads as absent (or false),
// the way the platform's own defaults behave. Safe to use from any thread.
class SettingsStore {
public:
    // A store in the given file, keeping each value's type.
    explicit SettingsStore(const QString& filePath);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    // The user's own store on this platform; `filePath` overrides it when set.
    static std::unique_ptr<SettingsStore> open(const QString& filePath);

    bool boolValue(const QString& key) const;
    std::optional<QString> stringValue(const QString& key) const;
    std::optional<QStringList> stringListValue(const QString& key) const;
    std::optional<QByteArray> dataValue(const QString& key) const;
    bool contains(const QString& key) const;
    // The path of the file when it could not be parsed as the store was
    // opened. Its values then read as absent for the whole run, and the file
    // stays as it is until a setting is written.
    const std::optional<QString>& unparsableFile() const { return unparsableFilePath; }

    void setBool(const QString& key, bool value);
    void setString(const QString& key, const QString& value);
    void setStringList(const QString& key, const QStringList& value);
    void setData(const QString& key, const QByteArray& value);
    void remove(const QString& key);

private:
    explicit SettingsStore(std::unique_ptr<QSettings> settings);
    static std::unique_ptr<SettingsStore> openPlatformStore();
    QVariant read(const QString& key) const;
    void write(const QString& key, const QVariant& value);

    mutable QMutex mutex;
    std::unique_ptr<QSettings> settings;
    std::optional<QString> unparsableFilePath;
};

}  // namespace tarnel
