#include "platform/qt_log_sink.h"

#include <QLoggingCategory>

namespace tarnel {

namespace {
Q_LOGGING_CATEGORY(generalLog, "app.tarnel.Tarnel.general")
}

LogSink qtLogSink() {
    return [](LogLevel level, const QString& line) {
        if (level == LogLevel::info) {
            qCInfo(generalLog, "%s", qUtf8Printable(line));
        } else {
            qCCritical(generalLog, "%s", qUtf8Printable(line));
        }
    };
}

}  // namespace tarnel
