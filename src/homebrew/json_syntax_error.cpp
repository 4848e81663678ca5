#include "homebrew/json_syntax_error.h"

namespace tarnel {

JSONSyntaxError::JSONSyntaxError(const QString& reason) : readerReason(reason) {
    utf8Description = description().toUtf8();
}

QString JSONSyntaxError::description() const {
    return QStringLiteral("The data is not valid JSON: %1").arg(readerReason);
}

}  // namespace tarnel
