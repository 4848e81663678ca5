#include "platform/private_directory.h"

#include "platform/file_descriptor.h"

#include <QFile>
#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>

namespace tarnel {

namespace {

QString systemError(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// Opens the folder itself, never through a link in its place, checks that
// nobody but the user can change what it holds, and runs `use` on the open
// folder, so that a folder swapped after the check is never written. Gives
// the check's problem or `use`'s.
std::optional<QString> withCheckedFolder(
    const QString& path, const std::function<std::optional<QString>(int folder)>& use) {
    const QByteArray nativePath = QFile::encodeName(path);
    const FileDescriptor folder(
        open(nativePath.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder.isValid()) {
        const int error = errno;
        if (lstat(nativePath.constData(), &status) == 0 && S_ISLNK(status.st_mode)) {
            return QStringLiteral("%1 is a link, not a folder").arg(path);
        }
        return QStringLiteral("cannot open the folder %1: %2").arg(path, systemError(error));
    }
    if (fstat(folder.get(), &status) != 0) {
        return QStringLiteral("cannot inspect the folder %1: %2").arg(path, systemError(errno));
    }
    if (status.st_uid != geteuid()) {
        return QStringLiteral("the folder %1 belongs to another user").arg(path);
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return QStringLiteral("the folder %1 may be written by other users").arg(path);
    }
    return use(folder.get());
}

}  // namespace

PrivateDirectory::PrivateDirectory(QString path) : folderPath(std::move(path)) {}

bool PrivateDirectory::holdsOwnFile(const QString& name, mode_t mode) const {
    bool isOwn = false;
    const std::optional<QString> problem =
        withCheckedFolder(folderPath, [&](int folder) -> std::optional<QString> {
            struct stat status {};
            isOwn = fstatat(folder, QFile::encodeName(name).constData(), &status,
                            AT_SYMLINK_NOFOLLOW) == 0 &&
                    S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
                    (status.st_mode & 07777) == mode;
            return std::nullopt;
        });
    return !problem && isOwn;
}

std::optional<QString> PrivateDirectory::replaceFile(const QString& name, const QByteArray& bytes,
                                                     mode_t mode) const {
    if (mkdir(QFile::encodeName(folderPath).constData(), 0700) != 0 && errno != EEXIST) {
        return QStringLiteral("cannot make the folder %1: %2").arg(folderPath, systemError(errno));
    }
    return withCheckedFolder(folderPath, [&](int folder) -> std::optional<QString> {
        const QByteArray finalName = QFile::encodeName(name);
        // A name nobody can guess, created afresh: never an existing file or link.
        const QByteArray temporaryName =
            finalName + '.' + QByteArray::number(QRandomGenerator::global()->generate64(), 36);
        const FileDescriptor file(openat(folder, temporaryName.constData(),
                                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                         0600));
        if (!file.isValid()) {
            return QStringLiteral("cannot write in %1: %2").arg(folderPath, systemError(errno));
        }
        QFile writer;
        const bool isWritten =
            writer.open(file.get(), QIODevice::WriteOnly, QFileDevice::DontCloseHandle) &&
            writer.write(bytes) == bytes.size() && writer.flush();
        if (!isWritten || fchmod(file.get(), mode) != 0 ||
            renameat(folder, temporaryName.constData(), folder, finalName.constData()) != 0) {
            const QString error = isWritten ? systemError(errno) : writer.errorString();
            unlinkat(folder, temporaryName.constData(), 0);
            return QStringLiteral("cannot write %1 in %2: %3").arg(name, folderPath, error);
        }
        return std::nullopt;
    });
}

}  // namespace tarnel
