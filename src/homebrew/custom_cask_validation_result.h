#pragma once

#include "core/records/cask.h"

#include <optional>

namespace tarnel {

// What a cask token typed by the user turned out to be.
struct CustomCaskValidationResult {
    enum class Kind { valid, alreadyInUse, notFound, alreadyInstalled };

    Kind kind = Kind::notFound;
    // Present exactly when `kind` is `valid`.
    std::optional<Cask> cask;

    bool operator==(const CustomCaskValidationResult&) const = default;
};

}  // namespace tarnel
