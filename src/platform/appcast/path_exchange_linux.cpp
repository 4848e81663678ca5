#include "platform/appcast/path_exchange.h"

#include <fcntl.h>
#include <stdio.h>

#include <cerrno>

namespace tarnel {

PathExchange exchangePaths(const QByteArray& first, const QByteArray& second) {
    if (renameat2(AT_FDCWD, first.constData(), AT_FDCWD, second.constData(), RENAME_EXCHANGE) ==
        0) {
        return PathExchange::exchanged;
    }
    // Older kernels lack the call; some file systems lack the flag.
    return errno == EINVAL || errno == ENOSYS ? PathExchange::unsupported : PathExchange::failed;
}

}  // namespace tarnel
