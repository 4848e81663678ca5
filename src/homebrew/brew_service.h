#pragma once

#include "core/system_layout.h"

#include <QString>

#include <optional>

namespace tarnel {

class Logger;

// The only place that launches `brew`. Lives on the main thread; its state
// changes only between awaits.
class BrewService {
public:
    BrewService(Logger& logger, const SystemLayout& layout);

    // The first candidate path that exists; executability is not tested.
    std::optional<QString> locateBrew() const;
    // Searches while no path is cached; once found, a path is never checked again.
    bool isHomebrewAvailable();
    const std::optional<QString>& cachedBrewPath() const { return cachedPath; }
    void setCachedBrewPath(std::optional<QString> path) { cachedPath = std::move(path); }

private:
    Logger& logger;
    SystemLayout layout;
    std::optional<QString> cachedPath;
};

}  // namespace tarnel
