#include "homebrew/brew_service.h"

#include "core/logger.h"

#include <QFileInfo>

namespace tarnel {

BrewService::BrewService(Logger& logger, const SystemLayout& layout)
    : logger(logger), layout(layout) {}

std::optional<QString> BrewService::locateBrew() const {
    for (const QString& candidate : layout.brewCandidates) {
        if (QFileInfo::exists(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

bool BrewService::isHomebrewAvailable() {
    if (cachedPath) {
        return true;
    }
    cachedPath = locateBrew();
    return cachedPath.has_value();
}

}  // namespace tarnel
