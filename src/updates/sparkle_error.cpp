#include "updates/sparkle_error.h"

#include <utility>

namespace tarnel {

SparkleError::SparkleError(Case kind, QString networkText)
    : kind(kind), networkText(std::move(networkText)), utf8Description(description().toUtf8()) {}

QString SparkleError::description() const {
    switch (kind) {
        case Case::noSparkleConfiguration:
            return QStringLiteral("Application does not have Sparkle configuration");
        case Case::invalidFeedURL:
            return QStringLiteral("Invalid update feed URL");
        case Case::feedNotAccessible:
            return QStringLiteral("Could not access update feed");
        case Case::feedParsingFailed:
            return QStringLiteral("Failed to parse update feed");
        case Case::unsupportedFeedFormat:
            return QStringLiteral("Unsupported feed format");
        case Case::failedToLoadBundle:
            return QStringLiteral("Failed to load application bundle");
        case Case::insecureFeedURL:
            return QStringLiteral("Update feed uses HTTP instead of HTTPS");
        case Case::hostNotFound:
            return QStringLiteral("Update server not reachable");
        case Case::updateAlreadyInProgress:
            return QStringLiteral("Update is already in progress");
        case Case::networkError:
            return QStringLiteral("Network error: %1").arg(networkText);
    }
    Q_UNREACHABLE();
}

}  // namespace tarnel
