#pragma once

#include <QString>

#include <array>

namespace tarnel {

enum class ApplicationRowStatus {
    managedByHomebrew,
    availableForAdoption,
    homebrewCask,
    customCask,
    excluded,
    updateRequiresAdmin,
    updateAvailable,
    managedByMacAppStore,
    none,
};

inline constexpr std::array allApplicationRowStatuses{
    ApplicationRowStatus::managedByHomebrew,
    ApplicationRowStatus::availableForAdoption,
    ApplicationRowStatus::homebrewCask,
    ApplicationRowStatus::customCask,
    ApplicationRowStatus::excluded,
    ApplicationRowStatus::updateRequiresAdmin,
    ApplicationRowStatus::updateAvailable,
    ApplicationRowStatus::managedByMacAppStore,
    ApplicationRowStatus::none,
};

// The help text of a list row; empty for `none`.
QString helpText(ApplicationRowStatus status);

}  // namespace tarnel
