#include "updates/mas_error.h"

#include <utility>

namespace tarnel {

MASError::MASError(Case kind, QString output)
    : kind(kind), output(std::move(output)), utf8Description(description().toUtf8()) {}

MASError MASError::commandFailed(const QString& text) {
    return MASError(Case::commandFailed, text);
}

MASError MASError::notInstalled() {
    return MASError(Case::notInstalled, QString());
}

QString MASError::description() const {
    switch (kind) {
        case Case::commandFailed:
            return QStringLiteral("MAS command failed: %1").arg(output);
        case Case::notInstalled:
            return QStringLiteral("MAS CLI not found. Install with: brew install mas");
    }
    Q_UNREACHABLE();
}

}  // namespace tarnel
