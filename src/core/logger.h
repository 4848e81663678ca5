#pragma once

#include "core/log_level.h"

#include <QMutex>
#include <QString>

#include <optional>

namespace tarnel {

class SettingsStore;

// The one logging path. Every message goes to the sink and, while the
// `enableFileLogging` default is on, to "TarnelLog-{stamp}.log" on the desktop.
// The file is opened lazily and never kept open between lines. A message
// is one line wherever it goes: its control characters are shown escaped
// (see printableText).
class Logger {
public:
    // Warns at once when `settings` could not parse its file.
    Logger(LogSink sink, SettingsStore& settings, QString desktopDirectory);

    void info(const QString& message);
    void warning(const QString& message);
    void error(const QString& message);

    // Removes the current file; the next line with the setting on starts a new one.
    void stopFileLogging();

    std::optional<QString> currentLogFile() const;

private:
    void log(LogLevel level, const QString& message);
    void writeToLogFile(const QString& message, LogLevel level);
    void prepareLogFile();

    LogSink sink;
    SettingsStore& settings;
    QString desktopDirectory;
    mutable QMutex fileMutex;
    std::optional<QString> logFilePath;
};

}  // namespace tarnel
