#include "platform/file_descriptor.h"

#include <unistd.h>

namespace tarnel {

FileDescriptor::~FileDescriptor() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

}  // namespace tarnel
