#pragma once

#include <QString>

#include <optional>

namespace tarnel {

// What installing an update needs to know of a bundle, from its Info.plist.
struct BundleManifest {
    // CFBundleIdentifier, CFBundleVersion and CFBundleName; empty when absent
    // or not text.
    QString identifier;
    QString version;
    QString name;
    // SUPublicEDKey when it is text, untrimmed.
    std::optional<QString> publicEdKey;
    // Whether a legacy DSA key is named (SUPublicDSAKey or SUPublicDSAKeyFile).
    bool hasDsaKey = false;
};

// Reads `{bundlePath}/Contents/Info.plist`, XML or binary. Absent when the
// file is missing, unreadable, oversized or no property-list dictionary.
std::optional<BundleManifest> readBundleManifest(const QString& bundlePath);

}  // namespace tarnel
