#pragma once

#include <QByteArray>
#include <QString>

namespace tarnel {

// The archive formats an update may come in.
enum class ArchiveType { zip, tar };

// The type of a downloaded update, from the suffix of the name it was stored
// under (the server's suggested name), else the suffix of the enclosure URL's
// last path component, else the archive's first bytes. Disk images, packages,
// deltas and anything unrecognised throw UpdateInstallError::unsupportedArchive.
ArchiveType archiveTypeOf(const QString& downloadedName, const QString& enclosureName,
                          const QByteArray& leadingBytes);

// How many leading bytes archiveTypeOf looks at.
inline constexpr qsizetype archiveSignatureLength = 512;

}  // namespace tarnel
