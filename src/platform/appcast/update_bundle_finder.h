#pragma once

#include <QString>

namespace tarnel {

class CancellationToken;
struct BundleManifest;

// What an extracted update holds in place of the installed bundle.
struct FoundUpdate {
    enum class Kind { application, package };

    Kind kind = Kind::application;
    QString path;
};

// Walks the extraction folder in name order, never through links, and takes
// the first entry that is: a folder named like the installed bundle's file
// or as its CFBundleName with the same extension; an installer package named
// like it; or a bundle with the installed CFBundleIdentifier. Without such an
// entry, any other installer package found. Throws
// UpdateInstallError::missingUpdate when there is nothing, or CancellationError.
FoundUpdate findUpdateBundle(const QString& extractionFolder, const QString& installedFileName,
                             const BundleManifest& installed, const CancellationToken& token);

}  // namespace tarnel
