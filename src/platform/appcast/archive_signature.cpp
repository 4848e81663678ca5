#include "platform/appcast/archive_signature.h"

#include "platform/appcast/bundle_manifest.h"
#include "platform/appcast/mapped_file.h"
#include "platform/appcast/update_install_error.h"

#include <QByteArray>

#include <sodium.h>

#include <stdexcept>

namespace tarnel {

namespace {

// Standard base64 with padding, surrounding whitespace trimmed; absent when
// the text is no such base64.
std::optional<QByteArray> decodeBase64(const QString& text) {
    const QByteArray encoded = text.trimmed().toLatin1();
    QByteArray decoded(encoded.size() / 4 * 3 + 3, Qt::Uninitialized);
    std::size_t length = 0;
    const char* end = nullptr;
    if (sodium_base642bin(reinterpret_cast<unsigned char*>(decoded.data()), decoded.size(),
                          encoded.constData(), encoded.size(), nullptr, &length, &end,
                          sodium_base64_VARIANT_ORIGINAL) != 0 ||
        end != encoded.constData() + encoded.size()) {
        return std::nullopt;
    }
    decoded.truncate(static_cast<qsizetype>(length));
    return decoded;
}

// The installed bundle's key, or the reason it cannot verify anything. With
// no usable EdDSA key and no signature, the framework would fall to DSA.
QByteArray publicKeyOf(const BundleManifest& installed, bool hasSignature) {
    if (!installed.publicEdKey) {
        throw installed.hasDsaKey ? UpdateInstallError::dsaKeyOnly()
                                  : UpdateInstallError::noPublicKey();
    }
    if (!isValidPublicEdKey(*installed.publicEdKey)) {
        throw !hasSignature && installed.hasDsaKey ? UpdateInstallError::dsaKeyOnly()
                                                   : UpdateInstallError::invalidPublicKey();
    }
    return *decodeBase64(*installed.publicEdKey);
}

QByteArray signatureOf(const std::optional<QString>& edSignature) {
    if (!edSignature) {
        throw UpdateInstallError::missingSignature();
    }
    const auto signature = decodeBase64(*edSignature);
    if (!signature) {
        throw UpdateInstallError::signatureNotBase64();
    }
    if (signature->size() != crypto_sign_BYTES) {
        throw UpdateInstallError::signatureWrongLength(signature->size());
    }
    return *signature;
}

}  // namespace

void verifyArchiveSignature(const QString& archivePath, const BundleManifest& installed,
                            const std::optional<QString>& edSignature, quint64 announcedLength) {
    if (sodium_init() < 0) {
        throw std::runtime_error("libsodium cannot start");
    }
    const QByteArray key = publicKeyOf(installed, edSignature.has_value());
    const QByteArray signature = signatureOf(edSignature);
    // Plain Ed25519 hashes the whole message inside one call, so the archive
    // is mapped rather than read into memory.
    const MappedFile archive(archivePath);
    if (crypto_sign_verify_detached(reinterpret_cast<const unsigned char*>(signature.constData()),
                                    archive.data(), archive.size(),
                                    reinterpret_cast<const unsigned char*>(key.constData())) != 0) {
        throw UpdateInstallError::signatureMismatch(announcedLength, archive.size());
    }
}

bool isValidPublicEdKey(const QString& text) {
    const auto key = decodeBase64(text);
    return key && key->size() == crypto_sign_PUBLICKEYBYTES;
}

}  // namespace tarnel
