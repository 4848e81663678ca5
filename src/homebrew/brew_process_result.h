#pragma once

#include <QString>

#include <cstdint>

namespace tarnel {

// What one launch of `brew` left behind, both texts trimmed.
struct BrewProcessResult {
    std::int32_t exitStatus = 0;
    QString standardOutput;
    QString standardError;
};

}  // namespace tarnel
