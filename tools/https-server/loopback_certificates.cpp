#include "loopback_certificates.h"

#include <QDir>
#include <QFile>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace tarnel {

namespace {

template <auto Free>
struct OpenSslDeleter {
    template <typename T>
    void operator()(T* pointer) const {
        Free(pointer);
    }
};
using KeyPointer = std::unique_ptr<EVP_PKEY, OpenSslDeleter<EVP_PKEY_free>>;
using CertificatePointer = std::unique_ptr<X509, OpenSslDeleter<X509_free>>;
using FilePointer = std::unique_ptr<BIO, OpenSslDeleter<BIO_free_all>>;

constexpr long validitySeconds = 60L * 60 * 24 * 365;

void require(bool condition, const char* step) {
    if (!condition) {
        throw std::runtime_error(std::string("Could not make the loopback certificates: ") + step);
    }
}

KeyPointer newKey() {
    KeyPointer key(EVP_EC_gen("P-256"));
    require(key != nullptr, "key generation");
    return key;
}

void addExtension(X509* certificate, X509* issuer, int identifier, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, identifier, value);
    require(extension != nullptr, "certificate extension");
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

// A certificate for `key` named `commonName`; self-signed when no issuer is given.
CertificatePointer newCertificate(EVP_PKEY* key, const char* commonName, X509* issuer,
                                  EVP_PKEY* issuerKey) {
    CertificatePointer certificate(X509_new());
    require(certificate != nullptr, "certificate allocation");
    X509* raw = certificate.get();
    X509_set_version(raw, 2);
    unsigned char serial[16];
    require(RAND_bytes(serial, sizeof serial) == 1, "serial number");
    serial[0] &= 0x7f;
    BIGNUM* number = BN_bin2bn(serial, sizeof serial, nullptr);
    BN_to_ASN1_INTEGER(number, X509_get_serialNumber(raw));
    BN_free(number);
    // An hour of slack keeps clocks that disagree a little from refusing it.
    X509_gmtime_adj(X509_getm_notBefore(raw), -3600);
    X509_gmtime_adj(X509_getm_notAfter(raw), validitySeconds);
    X509_set_pubkey(raw, key);
    X509_NAME* name = X509_get_subject_name(raw);
    X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("Tarnel loopback"), -1, -1,
                               0);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(commonName), -1, -1, 0);
    X509* signer = issuer ? issuer : raw;
    X509_set_issuer_name(raw, X509_get_subject_name(signer));

    addExtension(raw, signer, NID_subject_key_identifier, "hash");
    addExtension(raw, signer, NID_authority_key_identifier, "keyid:always");
    if (issuer) {
        addExtension(raw, signer, NID_basic_constraints, "critical,CA:FALSE");
        addExtension(raw, signer, NID_key_usage, "critical,digitalSignature,keyEncipherment");
        addExtension(raw, signer, NID_ext_key_usage, "serverAuth");
        addExtension(raw, signer, NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost");
    } else {
        addExtension(raw, signer, NID_basic_constraints, "critical,CA:TRUE");
        addExtension(raw, signer, NID_key_usage, "critical,keyCertSign,cRLSign");
    }
    require(X509_sign(raw, issuerKey ? issuerKey : key, EVP_sha256()) > 0, "signature");
    return certificate;
}

FilePointer openForWriting(const QString& path) {
    FilePointer file(BIO_new_file(QFile::encodeName(path).constData(), "w"));
    require(file != nullptr, "opening a PEM file");
    return file;
}

void writeKey(const QString& path, EVP_PKEY* key) {
    const FilePointer file = openForWriting(path);
    require(PEM_write_bio_PrivateKey(file.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "writing a key");
}

void writeCertificate(const QString& path, X509* certificate) {
    const FilePointer file = openForWriting(path);
    require(PEM_write_bio_X509(file.get(), certificate) == 1, "writing a certificate");
}

}  // namespace

LoopbackCertificates LoopbackCertificates::inFolder(const QString& folder) {
    const QDir directory(folder);
    return {
        directory.filePath(QStringLiteral("authority-certificate.pem")),
        directory.filePath(QStringLiteral("authority-key.pem")),
        directory.filePath(QStringLiteral("server-certificate.pem")),
        directory.filePath(QStringLiteral("server-key.pem")),
    };
}

LoopbackCertificates LoopbackCertificates::create(const QString& folder) {
    require(QDir().mkpath(folder), "making the folder");
    const LoopbackCertificates files = inFolder(folder);

    const KeyPointer authorityKey = newKey();
    const CertificatePointer authority =
        newCertificate(authorityKey.get(), "Tarnel loopback authority", nullptr, nullptr);
    const KeyPointer serverKey = newKey();
    const CertificatePointer server =
        newCertificate(serverKey.get(), "127.0.0.1", authority.get(), authorityKey.get());

    writeKey(files.authorityKey, authorityKey.get());
    writeCertificate(files.authorityCertificate, authority.get());
    writeKey(files.serverKey, serverKey.get());
    writeCertificate(files.serverCertificate, server.get());
    return files;
}

}  // namespace tarnel
