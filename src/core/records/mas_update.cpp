#include "core/records/mas_update.h"

#include <QHashFunctions>

namespace tarnel {

size_t qHash(const MASUpdate& update, size_t seed) {
    return qHashMulti(seed, update.id, update.appId, update.appName, update.currentVersion,
                      update.availableVersion);
}

}  // namespace tarnel
