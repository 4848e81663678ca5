#include "platform/appcast/update_acceptance.h"

#include "platform/appcast/archive_signature.h"
#include "platform/appcast/bundle_manifest.h"
#include "platform/appcast/standard_version_comparator.h"
#include "platform/appcast/update_install_error.h"

namespace tarnel {

void checkUpdateAcceptable(const BundleManifest& installed, const BundleManifest& update) {
    if (update.identifier != installed.identifier) {
        throw UpdateInstallError::bundleIdentifierMismatch(update.identifier, installed.identifier);
    }
    if (!update.publicEdKey || !isValidPublicEdKey(*update.publicEdKey)) {
        throw UpdateInstallError::updateRemovesKey();
    }
    // The same version may be installed again.
    if (update.version.isEmpty() || compareStandardVersions(installed.version, update.version) ==
                                        std::strong_ordering::greater) {
        throw UpdateInstallError::downgrade(update.version, installed.version);
    }
}

}  // namespace tarnel
