#include "platform/appcast/mapped_file.h"

#include "platform/appcast/update_install_error.h"
#include "platform/file_descriptor.h"

#include <QFile>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace tarnel {

namespace {

UpdateInstallError systemFailure() {
    return UpdateInstallError::unreadableArchive(QString::fromLocal8Bit(std::strerror(errno)));
}

}  // namespace

MappedFile::MappedFile(const QString& path) {
    const FileDescriptor file(
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status {};
    if (!file.isValid() || fstat(file.get(), &status) != 0) {
        throw systemFailure();
    }
    if (!S_ISREG(status.st_mode)) {
        throw UpdateInstallError::unreadableArchive(QStringLiteral("not a plain file"));
    }
    length = static_cast<std::size_t>(status.st_size);
    // An empty file cannot be mapped, and needs no mapping.
    if (length == 0) {
        return;
    }
    void* mapping = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (mapping == MAP_FAILED) {
        throw systemFailure();
    }
    // The one reader goes through once, front to back.
    madvise(mapping, length, MADV_SEQUENTIAL);
    bytes = static_cast<const unsigned char*>(mapping);
}

MappedFile::~MappedFile() {
    if (bytes != nullptr) {
        munmap(const_cast<unsigned char*>(bytes), length);
    }
}

}  // namespace tarnel
