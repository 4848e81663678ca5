#include "core/records/application_row_status.h"

namespace tarnel {

QString helpText(ApplicationRowStatus status) {
    switch (status) {
        case ApplicationRowStatus::managedByHomebrew:
            return QStringLiteral("Managed by Homebrew");
        case ApplicationRowStatus::availableForAdoption:
            return QStringLiteral("Available for adoption");
        case ApplicationRowStatus::homebrewCask:
            return QStringLiteral("Homebrew Cask");
        case ApplicationRowStatus::customCask:
            return QStringLiteral("Custom Cask");
        case ApplicationRowStatus::excluded:
            return QStringLiteral("Excluded from discovery");
        case ApplicationRowStatus::updateRequiresAdmin:
            return QStringLiteral("Update requires administrator privileges");
        case ApplicationRowStatus::updateAvailable:
            return QStringLiteral("Update available");
        case ApplicationRowStatus::managedByMacAppStore:
            return QStringLiteral("Managed by Mac App Store");
        case ApplicationRowStatus::none:
            return {};
    }
    return {};
}

}  // namespace tarnel
