#include "core/records/sparkle_info.h"

#include "core/records/hashing.h"

namespace tarnel {

size_t qHash(const SparkleInfo& info, size_t seed) {
    seed = ::qHash(info.feedURL, seed);
    seed = hashOptional(info.publicKey, seed);
    seed = ::qHash(info.automaticallyUpdate, seed);
    seed = hashOptional(info.lastCheckDate, seed);
    return hashOptional(info.skipVersion, seed);
}

}  // namespace tarnel
