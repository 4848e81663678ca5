#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// Every reason the engine refuses or fails to put a downloaded update in
// place. Callers tell the cases apart by `kind()`; `code()` is the number the
// update framework's error domain gives the same failure, for the driver's
// reports.
class UpdateInstallError : public std::exception {
public:
    enum class Kind {
        // The installed bundle's signing keys.
        noPublicKey,
        dsaKeyOnly,
        invalidPublicKey,
        // The item's signature over the archive.
        missingSignature,
        signatureNotBase64,
        signatureWrongLength,
        signatureMismatch,
        // The archive.
        unreadableArchive,
        unsupportedArchive,
        extractionFailed,
        unsafeEntry,
        archiveTooLarge,
        // The bundle inside it.
        missingUpdate,
        packageUpdate,
        invalidUpdate,
        bundleIdentifierMismatch,
        updateRemovesKey,
        downgrade,
        // The installed bundle and its folder.
        installedBundleUnreadable,
        installedBundleChanged,
        installationFailed,
    };

    static UpdateInstallError noPublicKey();
    static UpdateInstallError dsaKeyOnly();
    static UpdateInstallError invalidPublicKey();
    static UpdateInstallError missingSignature();
    static UpdateInstallError signatureNotBase64();
    static UpdateInstallError signatureWrongLength(qsizetype length);
    // `announcedLength` is the feed's enclosure length, 0 when unknown.
    static UpdateInstallError signatureMismatch(quint64 announcedLength, quint64 archiveLength);
    static UpdateInstallError unreadableArchive(const QString& reason);
    static UpdateInstallError unsupportedArchive(const QString& fileName);
    static UpdateInstallError extractionFailed(const QString& reason);
    static UpdateInstallError unsafeEntry(const QString& entryPath, const QString& reason);
    static UpdateInstallError archiveTooLarge(const QString& reason);
    static UpdateInstallError missingUpdate();
    static UpdateInstallError packageUpdate();
    static UpdateInstallError invalidUpdate(const QString& bundlePath);
    static UpdateInstallError bundleIdentifierMismatch(const QString& found,
                                                       const QString& expected);
    static UpdateInstallError updateRemovesKey();
    static UpdateInstallError downgrade(const QString& found, const QString& installed);
    static UpdateInstallError installedBundleUnreadable(const QString& bundlePath);
    static UpdateInstallError installedBundleChanged(const QString& bundlePath,
                                                     const QString& expectedIdentifier);
    // `errorNumber` is the system's `errno` of the step that failed.
    static UpdateInstallError installationFailed(int errorNumber, const QString& step);

    Kind kind() const { return errorKind; }
    int code() const;
    // The failed step's `errno` for `installationFailed`, 0 otherwise.
    int errorNumber() const { return systemError; }
    const QString& description() const { return text; }
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    UpdateInstallError(Kind kind, QString text, int systemError = 0);

    Kind errorKind;
    QString text;
    int systemError;
    QByteArray utf8Description;
};

}  // namespace tarnel
