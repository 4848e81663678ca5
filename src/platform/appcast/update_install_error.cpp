#include "platform/appcast/update_install_error.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace tarnel {

namespace {

// The framework's codes: configuration, extraction and installation groups.
constexpr int noPublicKeyCode = 1;
constexpr int unarchivingCode = 3000;
constexpr int validationCode = 3002;
constexpr int fileCopyFailureCode = 4000;
constexpr int missingUpdateCode = 4002;
constexpr int installationCode = 4005;
constexpr int downgradeCode = 4006;
constexpr int notValidUpdateCode = 4009;
constexpr int writeNoPermissionCode = 4012;

}  // namespace

UpdateInstallError::UpdateInstallError(Kind kind, QString text, int systemError)
    : errorKind(kind),
      text(std::move(text)),
      systemError(systemError),
      utf8Description(this->text.toUtf8()) {}

UpdateInstallError UpdateInstallError::noPublicKey() {
    return {Kind::noPublicKey,
            QStringLiteral("The application has no EdDSA public key (SUPublicEDKey), and "
                           "updates need to be signed with an EdDSA key")};
}

UpdateInstallError UpdateInstallError::dsaKeyOnly() {
    return {Kind::dsaKeyOnly,
            QStringLiteral("The application has only a DSA public key, and updates need to be "
                           "signed with an EdDSA key")};
}

UpdateInstallError UpdateInstallError::invalidPublicKey() {
    return {Kind::invalidPublicKey,
            QStringLiteral("The application's EdDSA public key (SUPublicEDKey) is not the "
                           "base64 text of 32 bytes")};
}

UpdateInstallError UpdateInstallError::missingSignature() {
    return {Kind::missingSignature,
            QStringLiteral("The application has an EdDSA key but the update has no EdDSA "
                           "signature")};
}

UpdateInstallError UpdateInstallError::signatureNotBase64() {
    return {Kind::signatureNotBase64,
            QStringLiteral("The update's EdDSA signature could not be decoded: it is not "
                           "base64 text")};
}

UpdateInstallError UpdateInstallError::signatureWrongLength(qsizetype length) {
    return {
        Kind::signatureWrongLength,
        QStringLiteral("The update's EdDSA signature is %1 bytes long instead of 64").arg(length)};
}

UpdateInstallError UpdateInstallError::signatureMismatch(quint64 announcedLength,
                                                         quint64 archiveLength) {
    QString text = QStringLiteral(
        "The update's EdDSA signature does not match the downloaded archive and the "
        "application's key");
    // The usual cause is an archive changed after signing, which its length betrays.
    if (announcedLength != 0 && announcedLength != archiveLength) {
        text += QStringLiteral(" (the feed announced %1 bytes, but %2 were downloaded)")
                    .arg(announcedLength)
                    .arg(archiveLength);
    }
    return {Kind::signatureMismatch, text};
}

UpdateInstallError UpdateInstallError::unreadableArchive(const QString& reason) {
    return {Kind::unreadableArchive,
            QStringLiteral("The downloaded archive could not be read: %1").arg(reason)};
}

UpdateInstallError UpdateInstallError::unsupportedArchive(const QString& fileName) {
    return {Kind::unsupportedArchive,
            QStringLiteral("No valid unarchiver for %1: only zip and tar archives can be "
                           "installed")
                .arg(fileName)};
}

UpdateInstallError UpdateInstallError::extractionFailed(const QString& reason) {
    return {Kind::extractionFailed,
            QStringLiteral("The update archive could not be extracted: %1").arg(reason)};
}

UpdateInstallError UpdateInstallError::unsafeEntry(const QString& entryPath,
                                                   const QString& reason) {
    return {Kind::unsafeEntry, QStringLiteral("The update archive was refused: its entry \"%1\" %2")
                                   .arg(entryPath, reason)};
}

UpdateInstallError UpdateInstallError::archiveTooLarge(const QString& reason) {
    return {Kind::archiveTooLarge,
            QStringLiteral("The update archive was refused: %1").arg(reason)};
}

UpdateInstallError UpdateInstallError::missingUpdate() {
    return {Kind::missingUpdate, QStringLiteral("Couldn't find an appropriate update")};
}

UpdateInstallError UpdateInstallError::packageUpdate() {
    return {Kind::packageUpdate,
            QStringLiteral("The update is an installer package, which this system never runs")};
}

UpdateInstallError UpdateInstallError::invalidUpdate(const QString& bundlePath) {
    return {Kind::invalidUpdate,
            QStringLiteral("The update's bundle %1 has no readable Info.plist").arg(bundlePath)};
}

UpdateInstallError UpdateInstallError::bundleIdentifierMismatch(const QString& found,
                                                                const QString& expected) {
    return {Kind::bundleIdentifierMismatch,
            QStringLiteral("The update's bundle identifier \"%1\" is not the installed "
                           "application's \"%2\"")
                .arg(found, expected)};
}

UpdateInstallError UpdateInstallError::updateRemovesKey() {
    return {Kind::updateRemovesKey,
            QStringLiteral("The update has no valid EdDSA public key (SUPublicEDKey): keys may "
                           "be rotated, never removed")};
}

UpdateInstallError UpdateInstallError::downgrade(const QString& found, const QString& installed) {
    return {Kind::downgrade,
            QStringLiteral("The update's version \"%1\" is older than the installed \"%2\"")
                .arg(found, installed)};
}

UpdateInstallError UpdateInstallError::installedBundleUnreadable(const QString& bundlePath) {
    return {
        Kind::installedBundleUnreadable,
        QStringLiteral("The installed application %1 has no readable Info.plist").arg(bundlePath)};
}

UpdateInstallError UpdateInstallError::installedBundleChanged(const QString& bundlePath,
                                                              const QString& expectedIdentifier) {
    return {Kind::installedBundleChanged,
            QStringLiteral("The application at %1 is no longer \"%2\"")
                .arg(bundlePath, expectedIdentifier)};
}

UpdateInstallError UpdateInstallError::installationFailed(int errorNumber, const QString& step) {
    return {Kind::installationFailed,
            QStringLiteral("The update could not be put in place: %1: %2")
                .arg(step, QString::fromLocal8Bit(std::strerror(errorNumber))),
            errorNumber};
}

int UpdateInstallError::code() const {
    switch (errorKind) {
        case Kind::noPublicKey:
        case Kind::dsaKeyOnly:
        case Kind::invalidPublicKey:
            return noPublicKeyCode;
        case Kind::missingSignature:
        case Kind::signatureNotBase64:
        case Kind::signatureWrongLength:
        case Kind::signatureMismatch:
        case Kind::updateRemovesKey:
            return validationCode;
        case Kind::unreadableArchive:
        case Kind::unsupportedArchive:
        case Kind::extractionFailed:
        case Kind::unsafeEntry:
        case Kind::archiveTooLarge:
            return unarchivingCode;
        case Kind::missingUpdate:
            return missingUpdateCode;
        case Kind::packageUpdate:
        case Kind::installedBundleUnreadable:
        case Kind::installedBundleChanged:
            return installationCode;
        case Kind::invalidUpdate:
        case Kind::bundleIdentifierMismatch:
            return notValidUpdateCode;
        case Kind::downgrade:
            return downgradeCode;
        case Kind::installationFailed:
            return systemError == EACCES || systemError == EPERM || systemError == EROFS
                       ? writeNoPermissionCode
                       : fileCopyFailureCode;
    }
    return installationCode;
}

}  // namespace tarnel
