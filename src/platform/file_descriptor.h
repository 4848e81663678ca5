#pragma once

namespace tarnel {

// Owns an open file descriptor and closes it when it goes.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : descriptor(descriptor) {}
    ~FileDescriptor();
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return descriptor; }
    bool isValid() const { return descriptor >= 0; }

private:
    int descriptor;
};

}  // namespace tarnel
