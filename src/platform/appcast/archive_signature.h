#pragma once

#include <QString>

#include <optional>

namespace tarnel {

struct BundleManifest;

// Checks that `edSignature`, an appcast item's `sparkle:edSignature`, is the
// plain Ed25519 signature of the archive's exact bytes by the installed
// bundle's `SUPublicEDKey`. A bundle without a valid EdDSA key, or with a DSA
// key only, can be checked for updates but never updated here, since the
// legacy DSA scheme is not supported. `announcedLength` is the enclosure's
// length (0 when unknown); it only adds a hint to a mismatch.
// Throws UpdateInstallError; returns when the signature verifies.
void verifyArchiveSignature(const QString& archivePath, const BundleManifest& installed,
                            const std::optional<QString>& edSignature, quint64 announcedLength);

// Whether `text` is an EdDSA public key as SUPublicEDKey holds it: base64 of
// 32 bytes, surrounding whitespace aside.
bool isValidPublicEdKey(const QString& text);

}  // namespace tarnel
