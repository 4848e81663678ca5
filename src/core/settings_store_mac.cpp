#include "core/settings_store.h"

#include <QSettings>

namespace tarnel {

// The native store is the user defaults domain of the application.
std::unique_ptr<SettingsStore> SettingsStore::openPlatformStore() {
    return std::unique_ptr<SettingsStore>(new SettingsStore(
        std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                    QStringLiteral("tarnel.app"), QStringLiteral("Tarnel"))));
}

}  // namespace tarnel
