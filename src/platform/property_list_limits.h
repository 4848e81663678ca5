#pragma once

#include <QtGlobal>

namespace tarnel {

// What a property list read from a bundle may hold. Real ones are tens of
// kilobytes; the limits leave them room a hundred times over, and keep the
// time and memory that reading anything a bundle holds can take small.
struct PropertyListLimits {
    // The largest file read.
    static constexpr qsizetype maximumSize = 4 * 1024 * 1024;
};

}  // namespace tarnel
