#include "core/records/sparkle_update.h"

#include "core/records/hashing.h"

namespace tarnel {

size_t qHash(const SparkleUpdate& update, size_t seed) {
    seed = qHashMulti(seed, update.id, update.applicationId, update.bundleIdentifier,
                      update.feedURL, update.currentVersion, update.availableVersion);
    seed = hashOptional(update.releaseNotes, seed);
    seed = qHashMulti(seed, update.downloadURL, update.requiresRestart);
    seed = hashOptional(update.publishedDate, seed);
    return hashOptional(update.fileSize, seed);
}

}  // namespace tarnel
