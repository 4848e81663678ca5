#include "core/records/application.h"

#include "core/records/hashing.h"

namespace tarnel {

ApplicationRowStatus Application::listStatus() const {
    if (excluded) {
        return ApplicationRowStatus::excluded;
    }
    if (masApp) {
        return ApplicationRowStatus::managedByMacAppStore;
    }
    if (alreadyAdopted) {
        return ApplicationRowStatus::managedByHomebrew;
    }
    if (!adoptedCask && caskOptions.isEmpty()) {
        return ApplicationRowStatus::none;
    }
    return ApplicationRowStatus::availableForAdoption;
}

QList<Cask> Application::otherCaskOptions() const {
    if (!adoptedCask && !caskOptions.isEmpty()) {
        return caskOptions.mid(1);
    }
    return caskOptions;
}

size_t qHash(const Application& application, size_t seed) {
    seed = qHashMulti(seed, application.id, application.name, application.displayName,
                      application.bundlePath, application.bundleIdentifier,
                      application.bundleVersion, application.shortVersion);
    seed = hashOptional(application.sparkleInfo, seed);
    seed = ::qHash(application.excluded, seed);
    seed = hashOptional(application.adoptedCask, seed);
    seed = qHashMulti(seed, application.alreadyAdopted, application.caskOptions);
    return hashOptional(application.masApp, seed);
}

}  // namespace tarnel
