#include "homebrew/cask_error.h"

#include <utility>

namespace tarnel {

CaskError CaskError::caskNotFound(const QString& name) {
    return CaskError(Case::caskNotFound, name);
}

CaskError CaskError::invalidAPIResponse() {
    return CaskError(Case::invalidAPIResponse, QString());
}

CaskError::CaskError(Case kind, QString name) : kind(kind), name(std::move(name)) {
    utf8Description = description().toUtf8();
}

QString CaskError::description() const {
    switch (kind) {
        case Case::caskNotFound:
            return QStringLiteral("Cask not found: %1").arg(name);
        case Case::invalidAPIResponse:
            return QStringLiteral("Invalid response from Homebrew API");
    }
    return {};
}

}  // namespace tarnel
