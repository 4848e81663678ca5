#include "platform/appcast/file_tree.h"

#include "core/async/cancellation_token.h"
#include "platform/appcast/update_install_error.h"
#include "platform/file_descriptor.h"

#include <QString>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

namespace tarnel {

namespace {

QByteArray joined(const QByteArray& root, const QByteArray& relativePath) {
    return relativePath.isEmpty() ? root : root + '/' + relativePath;
}

// The names in a folder, sorted; absent when it cannot be listed. The folder
// is closed before the caller descends.
std::optional<std::vector<QByteArray>> folderNames(const QByteArray& path) {
    const int descriptor = open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* folder = descriptor >= 0 ? fdopendir(descriptor) : nullptr;
    if (folder == nullptr) {
        if (descriptor >= 0) {
            close(descriptor);
        }
        return std::nullopt;
    }
    std::vector<QByteArray> names;
    while (const dirent* entry = readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    closedir(folder);
    std::sort(names.begin(), names.end());
    return names;
}

bool walkFrom(const QByteArray& root, const QByteArray& relativePath, const struct stat& status,
              const FileTreeVisitor& onEntry, const FileTreeVisitor& onFolderLeft) {
    onEntry(relativePath, status);
    if (!S_ISDIR(status.st_mode)) {
        return true;
    }
    const auto names = folderNames(joined(root, relativePath));
    bool complete = names.has_value();
    for (const QByteArray& name : names.value_or(std::vector<QByteArray>())) {
        const QByteArray child = relativePath.isEmpty() ? name : relativePath + '/' + name;
        struct stat childStatus {};
        if (lstat(joined(root, child).constData(), &childStatus) != 0) {
            complete = false;
            continue;
        }
        complete = walkFrom(root, child, childStatus, onEntry, onFolderLeft) && complete;
    }
    if (onFolderLeft) {
        onFolderLeft(relativePath, status);
    }
    return complete;
}

[[noreturn]] void throwSystemFailure(const char* step, const QByteArray& path) {
    throw UpdateInstallError::installationFailed(
        errno, QStringLiteral("%1 %2").arg(QLatin1StringView(step), QString::fromLocal8Bit(path)));
}

void copyFileContents(const QByteArray& from, const QByteArray& to, const struct stat& status) {
    const FileDescriptor source(open(from.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!source.isValid()) {
        throwSystemFailure("open", from);
    }
    const FileDescriptor target(
        open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!target.isValid()) {
        throwSystemFailure("create", to);
    }
    std::vector<char> buffer(256 * 1024);
    for (;;) {
        const ssize_t count = read(source.get(), buffer.data(), buffer.size());
        if (count == 0) {
            break;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            throwSystemFailure("read", from);
        }
        for (ssize_t written = 0; written < count;) {
            const ssize_t step = write(target.get(), buffer.data() + written, count - written);
            if (step < 0 && errno != EINTR) {
                throwSystemFailure("write", to);
            }
            written += std::max<ssize_t>(step, 0);
        }
    }
    if (fchmod(target.get(), status.st_mode & 0777) != 0 ||
        futimens(target.get(), std::array<timespec, 2>{status.st_atim, status.st_mtim}.data()) !=
            0) {
        throwSystemFailure("set the mode of", to);
    }
}

void copyLink(const QByteArray& from, const QByteArray& to, const struct stat& status) {
    QByteArray target(static_cast<qsizetype>(status.st_size) + 1, Qt::Uninitialized);
    const ssize_t length = readlink(from.constData(), target.data(), target.size());
    if (length < 0 || length >= target.size()) {
        throwSystemFailure("read the link", from);
    }
    target.truncate(length);
    if (symlink(target.constData(), to.constData()) != 0) {
        throwSystemFailure("create the link", to);
    }
}

}  // namespace

bool walkFileTree(const QByteArray& root, const FileTreeVisitor& onEntry,
                  const FileTreeVisitor& onFolderLeft) {
    struct stat status {};
    if (lstat(root.constData(), &status) != 0) {
        return false;
    }
    return walkFrom(root, QByteArray(), status, onEntry, onFolderLeft);
}

bool removeFileTree(const QByteArray& path) {
    struct stat status {};
    if (lstat(path.constData(), &status) != 0) {
        return errno == ENOENT;
    }
    bool removed = true;
    const bool listed = walkFileTree(
        path,
        [&](const QByteArray& relativePath, const struct stat& entry) {
            const QByteArray entryPath = joined(path, relativePath);
            if (S_ISDIR(entry.st_mode)) {
                // A folder the archive made read-only must still be emptied.
                chmod(entryPath.constData(), 0700);
            } else if (unlink(entryPath.constData()) != 0) {
                removed = false;
            }
        },
        [&](const QByteArray& relativePath, const struct stat&) {
            if (rmdir(joined(path, relativePath).constData()) != 0) {
                removed = false;
            }
        });
    return listed && removed;
}

void copyFileTree(const QByteArray& from, const QByteArray& to, const CancellationToken& token) {
    const bool complete = walkFileTree(
        from,
        [&](const QByteArray& relativePath, const struct stat& status) {
            token.throwIfCancelled();
            const QByteArray source = joined(from, relativePath);
            const QByteArray target = joined(to, relativePath);
            if (S_ISDIR(status.st_mode)) {
                if (mkdir(target.constData(), 0700) != 0) {
                    throwSystemFailure("create", target);
                }
            } else if (S_ISREG(status.st_mode)) {
                copyFileContents(source, target, status);
            } else if (S_ISLNK(status.st_mode)) {
                copyLink(source, target, status);
            }
        },
        [&](const QByteArray& relativePath, const struct stat& status) {
            const QByteArray target = joined(to, relativePath);
            const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
            if (chmod(target.constData(), status.st_mode & 0777) != 0 ||
                utimensat(AT_FDCWD, target.constData(), times.data(), 0) != 0) {
                throwSystemFailure("set the mode of", target);
            }
        });
    if (!complete) {
        throw UpdateInstallError::installationFailed(
            EIO, QStringLiteral("read %1").arg(QString::fromLocal8Bit(from)));
    }
}

void changeFileTreeOwner(const QByteArray& root, uid_t owner, gid_t group) {
    walkFileTree(root, [&](const QByteArray& relativePath, const struct stat&) {
        // Where possible: an unprivileged user cannot give files away.
        (void)lchown(joined(root, relativePath).constData(), owner, group);
    });
}

}  // namespace tarnel
