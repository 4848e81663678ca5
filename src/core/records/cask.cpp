#include "core/records/cask.h"

#include "core/records/hashing.h"

namespace tarnel {

size_t qHash(const Cask::Installer& installer, size_t seed) {
    return qHashMulti(seed, static_cast<int>(installer.type), installer.path);
}

size_t qHash(const Cask& cask, size_t seed) {
    seed = qHashMulti(seed, cask.id, cask.name);
    seed = hashOptional(cask.homepage, seed);
    seed = hashOptional(cask.description, seed);
    seed = qHashMulti(seed, cask.version, cask.rawVersion, cask.bundleIdentifiers, cask.installers,
                      cask.caveats, cask.warnings);
    seed = hashDouble(cask.confidence, seed);
    return qHashMulti(seed, cask.manualInstaller, cask.officialNames, cask.uninstallPaths);
}

}  // namespace tarnel
