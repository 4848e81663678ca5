#include "platform/appcast/path_exchange.h"

#include <stdio.h>

#include <cerrno>

namespace tarnel {

PathExchange exchangePaths(const QByteArray& first, const QByteArray& second) {
    if (renamex_np(first.constData(), second.constData(), RENAME_SWAP) == 0) {
        return PathExchange::exchanged;
    }
    // File systems other than APFS and HFS+ may not swap.
    return errno == ENOTSUP || errno == EINVAL ? PathExchange::unsupported : PathExchange::failed;
}

}  // namespace tarnel
