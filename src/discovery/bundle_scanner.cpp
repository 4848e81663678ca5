#include "discovery/bundle_scanner.h"

#include "core/file_name_encoding.h"
#include "discovery/directory_listing_error.h"

#include <QDir>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <vector>

namespace tarnel {

namespace {

// The root's entries are level 1; a folder at the deepest level is not entered.
constexpr int deepestLevel = 3;

struct FolderEntry {
    QByteArray path;
    unsigned char type = DT_UNKNOWN;
};

struct FolderListing {
    std::vector<FolderEntry> entries;
    int error = 0;
};

QByteArray joinPath(const QByteArray& folder, const char* name) {
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

// The entries of a folder, hidden ones included, sorted by name: the file
// system's own order differs between machines, and a scan should not.
FolderListing listFolder(const QByteArray& path) {
    FolderListing listing;
    DIR* folder = opendir(path.constData());
    if (!folder) {
        listing.error = errno;
        return listing;
    }
    while (const dirent* entry = readdir(folder)) {
        const QByteArrayView name(entry->d_name);
        if (name != "." && name != "..") {
            listing.entries.push_back({joinPath(path, entry->d_name), entry->d_type});
        }
    }
    closedir(folder);
    std::sort(
        listing.entries.begin(), listing.entries.end(),
        [](const FolderEntry& left, const FolderEntry& right) { return left.path < right.path; });
    return listing;
}

bool isSymbolicLink(const FolderEntry& entry) {
    if (entry.type != DT_UNKNOWN) {
        return entry.type == DT_LNK;
    }
    struct stat status {};
    return lstat(entry.path.constData(), &status) == 0 && S_ISLNK(status.st_mode);
}

// The path with every link resolved; a link that leads nowhere stays as it is.
QByteArray resolvedPath(const QByteArray& path) {
    char* resolved = realpath(path.constData(), nullptr);
    if (!resolved) {
        return path;
    }
    QByteArray result(resolved);
    std::free(resolved);
    return result;
}

// The extension test is case-sensitive, and a leading dot starts no extension.
bool hasApplicationExtension(const QByteArray& path) {
    const qsizetype nameStart = path.lastIndexOf('/') + 1;
    const qsizetype dot = path.lastIndexOf('.');
    return dot > nameStart && QByteArrayView(path).sliced(dot + 1) == "app";
}

bool isDirectory(const QByteArray& path) {
    struct stat status {};
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

class BundleWalk {
public:
    void examine(const FolderEntry& entry, int level) {
        const bool isLink = isSymbolicLink(entry);
        const QByteArray path = isLink ? resolvedPath(entry.path) : entry.path;
        if (hasApplicationExtension(path)) {
            bundles.append(decodeFileName(path));
            return;
        }
        if (level == deepestLevel) {
            return;
        }
        const bool isFolder =
            entry.type == DT_DIR || ((isLink || entry.type == DT_UNKNOWN) && isDirectory(path));
        if (!isFolder) {
            return;
        }
        // Below the top level a folder that cannot be listed is passed over.
        for (const FolderEntry& child : listFolder(path).entries) {
            examine(child, level + 1);
        }
    }

    QStringList bundles;
};

// The folder as an absolute path, so that every bundle's path is one too.
QByteArray absoluteFolder(const QString& root) {
    if (QDir::isAbsolutePath(root)) {
        return encodeFileName(root);
    }
    char* current = getcwd(nullptr, 0);
    if (!current) {
        return encodeFileName(root);
    }
    const QString absolute = QDir::cleanPath(decodeFileName(current) + u'/' + root);
    std::free(current);
    return encodeFileName(absolute);
}

}  // namespace

QStringList scanApplicationBundles(const QString& root) {
    const FolderListing listing = listFolder(absoluteFolder(root));
    if (listing.error != 0) {
        throw DirectoryListingError(
            root, QString::fromStdString(std::generic_category().message(listing.error)));
    }
    BundleWalk walk;
    for (const FolderEntry& entry : listing.entries) {
        walk.examine(entry, 1);
    }
    return walk.bundles;
}

}  // namespace tarnel
