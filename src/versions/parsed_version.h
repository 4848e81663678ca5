#pragma once

#include <QtGlobal>

#include <optional>

namespace tarnel {

// In ascending order: a later kind is the newer pre-release.
enum class PrereleaseKind { alpha, beta, rc };

// A version text as the appcast comparison reads it. Never stored.
struct ParsedVersion {
    qint64 major = 0;
    qint64 minor = 0;
    qint64 patch = 0;
    qint64 prereleaseNumber = 0;
    std::optional<PrereleaseKind> prereleaseKind;
    qint64 build = 0;

    bool operator==(const ParsedVersion&) const = default;
};

}  // namespace tarnel
