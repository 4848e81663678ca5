#pragma once

#include <QByteArray>

#include <sys/stat.h>
#include <sys/types.h>

#include <functional>

namespace tarnel {

class CancellationToken;

// Walks the tree at `root` (native path) depth first, never following a
// link: `onEntry` sees each entry with its path relative to `root` ("" for
// the root itself) before a folder's contents, `onFolderLeft` each folder
// after them. At most one folder is open at a time, so a deep tree cannot
// exhaust descriptors. Entries are visited in name order. Returns false when
// an entry could not be read; the walk goes on.
using FileTreeVisitor = std::function<void(const QByteArray& relativePath, const struct stat&)>;
bool walkFileTree(const QByteArray& root, const FileTreeVisitor& onEntry,
                  const FileTreeVisitor& onFolderLeft = {});

// Removes the tree at `path` (a folder, a file or a link, never followed),
// including folders that deny their owner access. Returns false when
// something stayed; a path that does not exist counts as removed.
bool removeFileTree(const QByteArray& path);

// Copies the tree at `from` to `to`, which must not exist: folders, plain
// files and links, with permission bits (no set-id bits) and modification
// times. Throws UpdateInstallError::installationFailed or CancellationError;
// a partial copy is left for the caller to remove.
void copyFileTree(const QByteArray& from, const QByteArray& to, const CancellationToken& token);

// Gives every entry of the tree the owner and group, as far as the system
// lets us; failures are ignored.
void changeFileTreeOwner(const QByteArray& root, uid_t owner, gid_t group);

}  // namespace tarnel
