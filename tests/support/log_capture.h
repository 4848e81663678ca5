#pragma once

#include "core/log_level.h"

#include <QList>
#include <QMutex>
#include <QString>

#include <memory>
#include <utility>

// Collects what a Logger sends to its sink, from any thread.
class LogCapture {
public:
    LogCapture();

    tarnel::LogSink sink() const;
    QList<std::pair<tarnel::LogLevel, QString>> entries() const;
    // The formatted lines, such as "[INFO] Homebrew detected".
    QStringList lines() const;
    bool contains(tarnel::LogLevel level, const QString& message) const;
    bool containsText(const QString& fragment) const;
    void clear();

private:
    struct Storage {
        QMutex mutex;
        QList<std::pair<tarnel::LogLevel, QString>> entries;
    };
    std::shared_ptr<Storage> storage;
};
