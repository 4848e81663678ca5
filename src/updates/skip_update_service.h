#pragma once

#include <QHash>
#include <QSet>
#include <QString>

namespace tarnel {

class Logger;
class SettingsStore;

// Remembers, across launches, the exact update versions the user chose not
// to install, keyed by bundle identifier. Versions are compared as exact
// text. Lives on the main thread, so each operation is atomic; failures of
// the store are logged, never thrown.
class SkipUpdateService {
public:
    using SkippedVersions = QHash<QString, QSet<QString>>;

    // Loads the stored versions; an unreadable value leaves the state empty.
    SkipUpdateService(Logger& logger, SettingsStore& userDefaults);

    // Adds the version and saves, even when it is already held.
    void skipVersion(const QString& bundleIdentifier, const QString& version);
    bool isVersionSkipped(const QString& bundleIdentifier, const QString& version) const;
    SkippedVersions getAllSkippedVersions() const;
    // Leaves an empty object in the store, not an absent value.
    void clearAllSkippedVersions();
    void saveSkippedVersions();

private:
    void loadSkippedVersions();

    Logger& logger;
    SkippedVersions skippedVersions;
    SettingsStore& userDefaults;
};

}  // namespace tarnel
