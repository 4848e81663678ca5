#pragma once

#include <QMap>
#include <QString>

#include <optional>

namespace tarnel {

// The two version keys of a bundle's Info.plist; the sandbox's tools change
// them the way installers and updates do.
struct BundleVersion {
    QString shortVersion;
    // Absent when the file has none; a write then leaves the key as it is.
    std::optional<QString> buildVersion;
};

// Reads Contents/Info.plist of the bundle, XML or binary.
std::optional<BundleVersion> readBundleVersion(const QString& bundlePath);

// Sets both keys, keeping every other key and the file's format; a bundle
// without Info.plist gets a new XML one named after the bundle.
bool writeBundleVersion(const QString& bundlePath, const BundleVersion& version);

// The text at `key` of the bundle's Info.plist, XML or binary.
std::optional<QString> readInfoPlistText(const QString& bundlePath, const QString& key);

// Sets text keys, keeping every other key and the file's format, as a
// publisher does when it points a bundle at its feed and key.
bool writeInfoPlistTexts(const QString& bundlePath, const QMap<QString, QString>& entries);

// Rewrites the bundle's Info.plist in the binary form.
bool convertInfoPlistToBinary(const QString& bundlePath);

}  // namespace tarnel
