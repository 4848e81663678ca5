#include "discovery/discovery_error.h"

namespace tarnel {

DiscoveryError::DiscoveryError(Kind kind)
    : errorKind(kind), utf8Description(description().toUtf8()) {}

QString DiscoveryError::description() const {
    switch (errorKind) {
        case Kind::applicationsDirectoryNotFound:
            return QStringLiteral("/Applications directory not found");
        case Kind::invalidApplicationBundle:
            return QStringLiteral("Invalid application bundle");
    }
    return {};
}

}  // namespace tarnel
