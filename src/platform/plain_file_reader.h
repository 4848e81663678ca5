#pragma once

#include <QByteArray>
#include <QString>

#include <variant>

namespace tarnel {

enum class FileReadFailure { missing, unreadable };

// Reads the plain file at `nativePath` whole, relative to the open folder
// `folderDescriptor` (or the working folder, given AT_FDCWD). A path that
// leads nowhere is `missing`; a folder, a pipe or a device is `unreadable`
// and is never waited on.
std::variant<QByteArray, FileReadFailure> readPlainFileAt(int folderDescriptor,
                                                          const QByteArray& nativePath);

// The same for a path held as text, such as a bundle's (see decodeFileName).
std::variant<QByteArray, FileReadFailure> readPlainFile(const QString& path);

}  // namespace tarnel
