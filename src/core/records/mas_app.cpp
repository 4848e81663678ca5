#include "core/records/mas_app.h"

#include <QHashFunctions>

namespace tarnel {

size_t qHash(const MASApp& app, size_t seed) {
    return qHashMulti(seed, app.id, app.name, app.version);
}

}  // namespace tarnel
