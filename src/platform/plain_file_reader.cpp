#include "platform/plain_file_reader.h"

#include "core/file_name_encoding.h"
#include "platform/file_descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tarnel {

std::variant<QByteArray, FileReadFailure> readPlainFileAt(int folderDescriptor,
                                                          const QByteArray& nativePath,
                                                          qsizetype maximumSize) {
    // Without blocking, so that opening a pipe does not wait for a writer.
    const FileDescriptor file(
        openat(folderDescriptor, nativePath.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isValid()) {
        const bool exists = fstatat(folderDescriptor, nativePath.constData(), &status, 0) == 0;
        return exists ? FileReadFailure::unreadable : FileReadFailure::missing;
    }
    if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return FileReadFailure::unreadable;
    }
    // The stated size only sizes the buffer; the bytes read decide.
    QByteArray contents;
    contents.reserve(std::min<qsizetype>(status.st_size, maximumSize + 1));
    char buffer[16384];
    for (;;) {
        const qsizetype wanted =
            std::min<qsizetype>(sizeof buffer, maximumSize + 1 - contents.size());
        const ssize_t count = read(file.get(), buffer, wanted);
        if (count == 0) {
            return contents;
        }
        if (count > 0) {
            contents.append(buffer, count);
            if (contents.size() > maximumSize) {
                return FileReadFailure::tooLarge;
            }
        } else if (errno != EINTR) {
            return FileReadFailure::unreadable;
        }
    }
}

std::variant<QByteArray, FileReadFailure> readPlainFile(const QString& path,
                                                        qsizetype maximumSize) {
    return readPlainFileAt(AT_FDCWD, encodeFileName(path), maximumSize);
}

}  // namespace tarnel
