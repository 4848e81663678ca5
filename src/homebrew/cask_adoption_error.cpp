#include "homebrew/cask_adoption_error.h"

#include "versions/version_rules.h"

namespace tarnel {

CaskAdoptionError::CaskAdoptionError(Kind kind, QString installedVersion, QString caskVersion,
                                     QString caskName)
    : errorKind(kind),
      installed(std::move(installedVersion)),
      offered(std::move(caskVersion)),
      token(std::move(caskName)),
      utf8Description(description().toUtf8()) {}

CaskAdoptionError CaskAdoptionError::versionMismatch(const QString& installedVersion,
                                                     const QString& caskVersion,
                                                     const QString& caskName) {
    return CaskAdoptionError(Kind::versionMismatch, installedVersion, caskVersion, caskName);
}

CaskAdoptionError CaskAdoptionError::adminPermissionRequired() {
    return CaskAdoptionError(Kind::adminPermissionRequired, {}, {}, {});
}

QString CaskAdoptionError::description() const {
    switch (errorKind) {
        case Kind::versionMismatch:
            return QStringLiteral(
                       "Version mismatch for %1: You have %2 installed, but Homebrew cask is %3")
                .arg(token, installed, offered);
        case Kind::adminPermissionRequired:
            return QStringLiteral("Administrator privileges required but permission not granted");
    }
    return {};
}

QString CaskAdoptionError::recoverySuggestion() const {
    switch (errorKind) {
        case Kind::versionMismatch:
            if (isInstalledVersionCalledNewer(installed, offered)) {
                return QStringLiteral(
                           "Your version (%1) is newer than the Homebrew cask (%2). Adopting will "
                           "replace your app with the older Homebrew version, but you'll get "
                           "future "
                           "updates through Homebrew. Most app preferences should be preserved.")
                    .arg(installed, offered);
            }
            return QStringLiteral(
                       "The Homebrew cask (%1) is newer than your version (%2). Adopting will "
                       "update your app and enable Homebrew management.")
                .arg(offered, installed);
        case Kind::adminPermissionRequired:
            return QStringLiteral(
                "Go to Settings → Permissions and enable 'Admin Password' to allow Homebrew to "
                "request administrator privileges when needed.");
    }
    return {};
}

}  // namespace tarnel
