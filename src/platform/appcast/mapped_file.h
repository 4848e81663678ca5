#pragma once

#include <QString>

#include <cstddef>

namespace tarnel {

// A plain file mapped read-only into memory, for reading a large file whole
// without copying it into the heap: its pages stay in the page cache.
// Throws UpdateInstallError::unreadableArchive when the file cannot be mapped.
class MappedFile {
public:
    explicit MappedFile(const QString& path);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    const unsigned char* data() const { return bytes; }
    std::size_t size() const { return length; }

private:
    const unsigned char* bytes = nullptr;
    std::size_t length = 0;
};

}  // namespace tarnel
