#pragma once

namespace tarnel {

struct BundleManifest;

// Accepts the bundle found in an update for the installed one, whose key
// has already verified the archive: it must have the same
// CFBundleIdentifier, a valid EdDSA key of its own (keys may be rotated,
// never removed), and a CFBundleVersion that is not older by the standard
// comparator. Throws UpdateInstallError.
void checkUpdateAcceptable(const BundleManifest& installed, const BundleManifest& update);

}  // namespace tarnel
