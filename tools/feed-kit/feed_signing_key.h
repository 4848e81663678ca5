#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tarnel {

// An Ed25519 key pair of an update publisher. The secret half stays with the
// publisher (a test or the sandbox), the public half goes into bundles.
class FeedSigningKey {
public:
    static FeedSigningKey generate();
    // The key saved by `save`; nothing when the file is missing or damaged.
    static std::optional<FeedSigningKey> load(const QString& path);
    bool save(const QString& path) const;

    // As bundles declare it: base64 of the 32-byte public key.
    QString publicKeyBase64() const;
    // Base64 of the detached signature over the file's exact bytes; nothing
    // when the file cannot be read.
    std::optional<QString> signFile(const QString& path) const;
    QString signBytes(const QByteArray& bytes) const;

private:
    FeedSigningKey(QByteArray publicKey, QByteArray secretKey);

    QByteArray publicKey;
    QByteArray secretKey;
};

}  // namespace tarnel
