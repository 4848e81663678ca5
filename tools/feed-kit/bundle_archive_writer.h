#pragma once

#include <QString>

namespace tarnel {

enum class BundleArchiveFormat { zip, tarGzip, tarBzip2, tarXz };

// Archives `folder` (a bundle, say) under its own name, as publishers ship
// updates: entries "Name.app/...", symbolic links stored as links, permission
// bits kept. Throws std::runtime_error with libarchive's reason on failure.
void writeBundleArchive(const QString& folder, const QString& archivePath,
                        BundleArchiveFormat format);

}  // namespace tarnel
