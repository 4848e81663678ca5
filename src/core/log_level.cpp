#include "core/log_level.h"

namespace tarnel {

QString levelWord(LogLevel level) {
    switch (level) {
        case LogLevel::info:
            return QStringLiteral("INFO");
        case LogLevel::warning:
            return QStringLiteral("WARNING");
        case LogLevel::error:
            return QStringLiteral("ERROR");
    }
    return {};
}

}  // namespace tarnel
