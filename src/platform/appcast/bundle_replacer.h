#pragma once

#include <QString>

namespace tarnel {

class CancellationToken;

// Puts the bundle folder at `replacementPath` in place of the installed
// bundle folder at `installedPath`. The replacement is first moved (or, from
// another file system, copied) into a private folder beside the installed
// bundle and given its owner; the two are then swapped in one atomic rename
// where the file system allows, else by the two-rename fallback. The old
// bundle is then removed. On any failure or cancel before the swap, the
// installed bundle is exactly as it was and the private folder is gone.
// Throws UpdateInstallError::installationFailed or CancellationError.
void replaceBundle(const QString& installedPath, const QString& replacementPath,
                   const CancellationToken& token);

// The fallback: moves the installed bundle to `backupPath`, then the
// replacement into its place; if the second move fails, the first is undone.
// All three paths must be on one file system. Throws
// UpdateInstallError::installationFailed with the failed move's error.
void replaceBundleByRenames(const QString& installedPath, const QString& replacementPath,
                            const QString& backupPath);

}  // namespace tarnel
