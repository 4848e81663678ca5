#pragma once

#include <QByteArray>
#include <QString>

#include <variant>

namespace tarnel {

enum class FileReadFailure { missing, unreadable, tooLarge };

// Reads the plain file at `nativePath` whole, relative to the open folder
// `folderDescriptor` (or the working folder, given AT_FDCWD). A path that
// leads nowhere is `missing`; a folder, a pipe or a device is `unreadable`
// and is never waited on. A file longer than `maximumSize` is `tooLarge`,
// found by reading one byte past the limit and no further, so that neither
// its stated size nor a sparse file's holes cost memory.
std::variant<QByteArray, FileReadFailure> readPlainFileAt(int folderDescriptor,
                                                          const QByteArray& nativePath,
                                                          qsizetype maximumSize);

// The same for a path held as text, such as a bundle's (see decodeFileName).
std::variant<QByteArray, FileReadFailure> readPlainFile(const QString& path, qsizetype maximumSize);

}  // namespace tarnel
