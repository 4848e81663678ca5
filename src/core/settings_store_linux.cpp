#include "core/settings_store.h"

#include <QDir>
#include <QStandardPaths>

namespace tarnel {

// This platform's settings files lose value types, so the user's store is a
// typed file of our own in the configuration folder.
std::unique_ptr<SettingsStore> SettingsStore::openPlatformStore() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                           QStringLiteral("/Tarnel");
    QDir().mkpath(folder);
    return std::make_unique<SettingsStore>(folder + QStringLiteral("/settings.json"));
}

}  // namespace tarnel
