#include "platform/appcast/bundle_replacer.h"

#include "core/async/cancellation_token.h"
#include "platform/appcast/file_tree.h"
#include "platform/appcast/path_exchange.h"
#include "platform/appcast/temporary_folder.h"
#include "platform/appcast/update_install_error.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <cerrno>

namespace tarnel {

namespace {

[[noreturn]] void throwSystemFailure(int errorNumber, const QString& step) {
    throw UpdateInstallError::installationFailed(errorNumber, step);
}

struct stat installedStatus(const QString& installedPath) {
    struct stat status {};
    if (lstat(QFile::encodeName(installedPath).constData(), &status) != 0) {
        throwSystemFailure(errno, QStringLiteral("read %1").arg(installedPath));
    }
    if (!S_ISDIR(status.st_mode)) {
        throwSystemFailure(ENOTDIR, QStringLiteral("replace %1").arg(installedPath));
    }
    return status;
}

// Brings the replacement onto the installed bundle's file system, where a
// rename can swap the two.
void stage(const QString& replacementPath, const QString& stagedPath,
           const CancellationToken& token) {
    const QByteArray from = QFile::encodeName(replacementPath);
    const QByteArray to = QFile::encodeName(stagedPath);
    if (rename(from.constData(), to.constData()) == 0) {
        return;
    }
    if (errno != EXDEV) {
        throwSystemFailure(errno, QStringLiteral("move %1").arg(replacementPath));
    }
    copyFileTree(from, to, token);
}

}  // namespace

void replaceBundle(const QString& installedPath, const QString& replacementPath,
                   const CancellationToken& token) {
    token.throwIfCancelled();
    const struct stat installed = installedStatus(installedPath);
    const QFileInfo installedInfo(installedPath);
    // Named without the bundle extension, so that a scan of the applications
    // folder meanwhile sees no second bundle.
    const TemporaryFolder staging(installedInfo.absolutePath(), QStringLiteral(".tarnel-update-"));
    const QString stagedPath = staging.filePath(QStringLiteral("incoming"));
    stage(replacementPath, stagedPath, token);
    const QByteArray staged = QFile::encodeName(stagedPath);
    struct stat stagedStatus {};
    if (lstat(staged.constData(), &stagedStatus) == 0 &&
        (stagedStatus.st_uid != installed.st_uid || stagedStatus.st_gid != installed.st_gid)) {
        changeFileTreeOwner(staged, installed.st_uid, installed.st_gid);
    }
    // A fresh modification time tells the system's caches that the bundle changed.
    utimensat(AT_FDCWD, staged.constData(), nullptr, 0);
    token.throwIfCancelled();
    switch (exchangePaths(staged, QFile::encodeName(installedPath))) {
        case PathExchange::exchanged:
            // The old bundle now sits in the staging folder, which goes with it.
            return;
        case PathExchange::unsupported:
            replaceBundleByRenames(installedPath, stagedPath,
                                   staging.filePath(QStringLiteral("previous")));
            return;
        case PathExchange::failed:
            throwSystemFailure(errno, QStringLiteral("replace %1").arg(installedPath));
    }
}

void replaceBundleByRenames(const QString& installedPath, const QString& replacementPath,
                            const QString& backupPath) {
    const QByteArray installed = QFile::encodeName(installedPath);
    const QByteArray backup = QFile::encodeName(backupPath);
    if (rename(installed.constData(), backup.constData()) != 0) {
        throwSystemFailure(errno, QStringLiteral("move %1 aside").arg(installedPath));
    }
    if (rename(QFile::encodeName(replacementPath).constData(), installed.constData()) != 0) {
        const int errorNumber = errno;
        rename(backup.constData(), installed.constData());
        throwSystemFailure(errorNumber, QStringLiteral("move the update to %1").arg(installedPath));
    }
}

}  // namespace tarnel
