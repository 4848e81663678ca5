#include "support/log_capture.h"

#include <QMutexLocker>

LogCapture::LogCapture() : storage(std::make_shared<Storage>()) {}

tarnel::LogSink LogCapture::sink() const {
    return [storage = storage](tarnel::LogLevel level, const QString& line) {
        QMutexLocker lock(&storage->mutex);
        storage->entries.append({level, line});
    };
}

QList<std::pair<tarnel::LogLevel, QString>> LogCapture::entries() const {
    QMutexLocker lock(&storage->mutex);
    return storage->entries;
}

QStringList LogCapture::lines() const {
    QStringList result;
    for (const auto& entry : entries()) {
        result.append(entry.second);
    }
    return result;
}

bool LogCapture::contains(tarnel::LogLevel level, const QString& message) const {
    const QString expected = QStringLiteral("[%1] %2").arg(tarnel::levelWord(level), message);
    for (const auto& entry : entries()) {
        if (entry.first == level && entry.second == expected) {
            return true;
        }
    }
    return false;
}

bool LogCapture::containsText(const QString& fragment) const {
    for (const auto& entry : entries()) {
        if (entry.second.contains(fragment)) {
            return true;
        }
    }
    return false;
}

void LogCapture::clear() {
    QMutexLocker lock(&storage->mutex);
    storage->entries.clear();
}
