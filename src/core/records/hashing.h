#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <optional>

// Helpers that let record hashes run over every stored field.
namespace tarnel {

// Zero and negative zero compare equal, so they must hash alike.
inline size_t hashDouble(double value, size_t seed) {
    return ::qHash(value == 0.0 ? 0.0 : value, seed);
}

template <typename T>
size_t hashOptional(const std::optional<T>& value, size_t seed) {
    return value ? qHashMulti(seed, true, *value) : ::qHash(false, seed);
}

}  // namespace tarnel
