#pragma once

#include <QByteArray>

namespace tarnel {

enum class PathExchange { exchanged, unsupported, failed };

// Swaps two entries of one file system in a single atomic rename, so that no
// moment exists in which either path is missing. `unsupported` when the file
// system cannot; `failed` (with errno set) for any other refusal.
PathExchange exchangePaths(const QByteArray& first, const QByteArray& second);

}  // namespace tarnel
