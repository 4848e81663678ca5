#pragma once

#include "platform/appcast/archive_type.h"

#include <QString>

#include <functional>

namespace tarnel {

class CancellationToken;

// Extracts an update archive into a folder of our own, keeping links and
// permission bits, skipping the resource-fork folders and files that macOS
// adds to archives, and refusing any entry that would land outside the
// folder. Blocking: meant for the worker pool.
class ArchiveExtractor {
public:
    // Caps against archives that expand without end.
    struct Limits {
        qint64 maximumBytes = qint64(4) << 30;
        qint64 maximumEntries = 100'000;
    };

    ArchiveExtractor() = default;
    explicit ArchiveExtractor(Limits limits) : limits(limits) {}

    // Extracts `archivePath` into `destination`, an existing empty folder.
    // `onProgress` gets the fraction of the archive read, from 0 to 1, rising.
    // Throws UpdateInstallError or CancellationError; whatever was extracted
    // by then stays for the owner of `destination` to remove.
    void extract(const QString& archivePath, ArchiveType type, const QString& destination,
                 const std::function<void(double)>& onProgress,
                 const CancellationToken& token) const;

private:
    Limits limits;
};

}  // namespace tarnel
