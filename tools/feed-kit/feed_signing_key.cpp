#include "feed_signing_key.h"

#include <QFile>
#include <QSaveFile>

#include <sodium.h>

#include <stdexcept>
#include <utility>

namespace tarnel {

namespace {

void requireSodium() {
    if (sodium_init() < 0) {
        throw std::runtime_error("libsodium cannot start");
    }
}

}  // namespace

FeedSigningKey::FeedSigningKey(QByteArray publicKey, QByteArray secretKey)
    : publicKey(std::move(publicKey)), secretKey(std::move(secretKey)) {}

FeedSigningKey FeedSigningKey::generate() {
    requireSodium();
    QByteArray publicKey(crypto_sign_PUBLICKEYBYTES, Qt::Uninitialized);
    QByteArray secretKey(crypto_sign_SECRETKEYBYTES, Qt::Uninitialized);
    crypto_sign_keypair(reinterpret_cast<unsigned char*>(publicKey.data()),
                        reinterpret_cast<unsigned char*>(secretKey.data()));
    return FeedSigningKey(std::move(publicKey), std::move(secretKey));
}

std::optional<FeedSigningKey> FeedSigningKey::load(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray secretKey = QByteArray::fromBase64(file.read(1024).trimmed());
    if (secretKey.size() != crypto_sign_SECRETKEYBYTES) {
        return std::nullopt;
    }
    requireSodium();
    QByteArray publicKey(crypto_sign_PUBLICKEYBYTES, Qt::Uninitialized);
    crypto_sign_ed25519_sk_to_pk(reinterpret_cast<unsigned char*>(publicKey.data()),
                                 reinterpret_cast<const unsigned char*>(secretKey.constData()));
    return FeedSigningKey(std::move(publicKey), secretKey);
}

bool FeedSigningKey::save(const QString& path) const {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(secretKey.toBase64() + '\n');
    return file.commit();
}

QString FeedSigningKey::publicKeyBase64() const {
    return QString::fromLatin1(publicKey.toBase64());
}

std::optional<QString> FeedSigningKey::signFile(const QString& path) const {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return signBytes(file.readAll());
}

QString FeedSigningKey::signBytes(const QByteArray& bytes) const {
    QByteArray signature(crypto_sign_BYTES, Qt::Uninitialized);
    crypto_sign_detached(reinterpret_cast<unsigned char*>(signature.data()), nullptr,
                         reinterpret_cast<const unsigned char*>(bytes.constData()),
                         static_cast<unsigned long long>(bytes.size()),
                         reinterpret_cast<const unsigned char*>(secretKey.constData()));
    return QString::fromLatin1(signature.toBase64());
}

}  // namespace tarnel
