#include "platform/appcast/archive_signature.h"
#include "install_workshop.h"
#include "platform/appcast/bundle_manifest.h"
#include "platform/appcast/update_install_error.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class ArchiveSignatureTest : public testing::Test {
protected:
    ArchiveSignatureTest() {
        writeTestFile(archive(), QByteArray("an update archive, byte for byte\n").repeated(1000));
    }

    QString archive() const { return folder.filePath(QStringLiteral("Foo-2.0.zip")); }
    BundleManifest installedWith(std::optional<QString> edKey, bool hasDsaKey = false) const {
        return BundleManifest{.identifier = QStringLiteral("org.example.foo"),
                              .version = QStringLiteral("100"),
                              .publicEdKey = std::move(edKey),
                              .hasDsaKey = hasDsaKey};
    }
    UpdateInstallError::Kind failureOf(const BundleManifest& installed,
                                       const std::optional<QString>& signature) const {
        try {
            verifyArchiveSignature(archive(), installed, signature, 0);
        } catch (const UpdateInstallError& error) {
            return error.kind();
        }
        ADD_FAILURE() << "the signature was accepted";
        return UpdateInstallError::Kind::installationFailed;
    }

    QTemporaryDir folder;
    SigningKey key;
};

TEST_F(ArchiveSignatureTest, AcceptsArchiveSignedByInstalledKey) {
    EXPECT_NO_THROW(verifyArchiveSignature(archive(), installedWith(key.publicKey()),
                                           key.signFile(archive()), 0));
}

TEST_F(ArchiveSignatureTest, AcceptsKeyAndSignatureWithSurroundingWhitespace) {
    EXPECT_NO_THROW(verifyArchiveSignature(
        archive(), installedWith(QStringLiteral("\n  ") + key.publicKey() + u'\t'),
        u' ' + key.signFile(archive()) + u'\n', 0));
}

TEST_F(ArchiveSignatureTest, RejectsValidSignatureByAnotherKey) {
    const SigningKey other;
    EXPECT_EQ(failureOf(installedWith(key.publicKey()), other.signFile(archive())),
              UpdateInstallError::Kind::signatureMismatch);
}

TEST_F(ArchiveSignatureTest, RejectsArchiveChangedAfterSigningWithLengthHint) {
    const QString signature = key.signFile(archive());
    writeTestFile(archive(), "a different archive");
    try {
        verifyArchiveSignature(archive(), installedWith(key.publicKey()), signature, 33000);
        FAIL() << "the signature was accepted";
    } catch (const UpdateInstallError& error) {
        EXPECT_EQ(error.kind(), UpdateInstallError::Kind::signatureMismatch);
        EXPECT_EQ(error.code(), 3002);
        EXPECT_TRUE(error.description().contains(u"announced 33000 bytes, but 19"));
    }
}

TEST_F(ArchiveSignatureTest, RejectsSignatureOfWrongLength) {
    // A valid signature with its last byte cut off: 63 bytes.
    const QString shortSignature = QString::fromLatin1(
        QByteArray::fromBase64(key.signFile(archive()).toLatin1()).chopped(1).toBase64());
    EXPECT_EQ(failureOf(installedWith(key.publicKey()), shortSignature),
              UpdateInstallError::Kind::signatureWrongLength);
}

TEST_F(ArchiveSignatureTest, RejectsSignatureThatIsNotBase64) {
    QString garbled = key.signFile(archive());
    garbled[10] = u'*';
    EXPECT_EQ(failureOf(installedWith(key.publicKey()), garbled),
              UpdateInstallError::Kind::signatureNotBase64);
}

TEST_F(ArchiveSignatureTest, RejectsMissingSignatureWhenAppHasKey) {
    EXPECT_EQ(failureOf(installedWith(key.publicKey()), std::nullopt),
              UpdateInstallError::Kind::missingSignature);
}

TEST_F(ArchiveSignatureTest, RefusesBundleWithoutAnyKey) {
    EXPECT_EQ(failureOf(installedWith(std::nullopt), key.signFile(archive())),
              UpdateInstallError::Kind::noPublicKey);
}

TEST_F(ArchiveSignatureTest, RefusesBundleWithDsaKeyOnly) {
    EXPECT_EQ(failureOf(installedWith(std::nullopt, true), key.signFile(archive())),
              UpdateInstallError::Kind::dsaKeyOnly);
}

TEST_F(ArchiveSignatureTest, RefusesInvalidKeyEvenWithSignature) {
    EXPECT_EQ(failureOf(installedWith(QStringLiteral("c2hvcnQ="), true), key.signFile(archive())),
              UpdateInstallError::Kind::invalidPublicKey);
}

TEST_F(ArchiveSignatureTest, FallsToDsaWithInvalidKeyAndNoSignature) {
    EXPECT_EQ(failureOf(installedWith(QStringLiteral("not base64!"), true), std::nullopt),
              UpdateInstallError::Kind::dsaKeyOnly);
}

TEST_F(ArchiveSignatureTest, RefusingKeylessBundleUsesConfigurationCode) {
    try {
        verifyArchiveSignature(archive(), installedWith(std::nullopt), std::nullopt, 0);
        FAIL() << "the archive was accepted";
    } catch (const UpdateInstallError& error) {
        EXPECT_EQ(error.code(), 1);
    }
}

TEST(ArchiveSignature, VerifiesPublishedEd25519TestVector) {
    QByteArray seed;
    for (char byte = 0; byte < 32; ++byte) {
        seed.append(byte);
    }
    const SigningKey key(seed);
    ASSERT_EQ(key.publicKey(), QStringLiteral("A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg="));
    QTemporaryDir folder;
    const QString archive = folder.filePath(QStringLiteral("message"));
    writeTestFile(archive, "stand-in update archive bytes\n");
    const BundleManifest installed{.identifier = QStringLiteral("org.example.foo"),
                                   .publicEdKey = key.publicKey()};
    EXPECT_NO_THROW(verifyArchiveSignature(
        archive, installed,
        QStringLiteral("WEJWpTEcLMMapH0Kvc9WOzGqFYX0XjVFOdX5W1glUgigq4P3bb7/cZbUfrzPynM+4/"
                       "6dwBRi9QVDYg+yWiMCAA=="),
        30));
}

}  // namespace
