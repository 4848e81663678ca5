#pragma once

#include <QString>

#include <optional>

namespace fakebrew {

// The two version keys of a bundle's Info.plist.
struct BundleVersion {
    QString shortVersion;
    QString buildVersion;
};

// Reads Contents/Info.plist of the bundle, XML or binary.
std::optional<BundleVersion> readBundleVersion(const QString& bundlePath);

// Sets both keys, keeping every other key and the file's format; a bundle
// without Info.plist gets a new XML one named after the bundle.
bool writeBundleVersion(const QString& bundlePath, const BundleVersion& version);

}  // namespace fakebrew
