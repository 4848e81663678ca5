#include "core/logger.h"

#include "core/printable_text.h"
#include "core/settings_store.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QMutexLocker>

namespace tarnel {

namespace {

const QString fileLoggingKey = QStringLiteral("enableFileLogging");

QString entryStamp() {
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString fileNameStamp() {
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
}

QByteArray fileLine(const QString& message, const QString& level) {
    return QStringLiteral("[%1] [%2] %3\n").arg(entryStamp(), level, message).toUtf8();
}

}  // namespace

Logger::Logger(LogSink sink, SettingsStore& settings, QString desktopDirectory)
    : sink(std::move(sink)), settings(settings), desktopDirectory(std::move(desktopDirectory)) {
    // The store opens before any logger exists, so the logger built over it
    // tells of a file that could not be parsed.
    if (const std::optional<QString>& file = settings.unparsableFile()) {
        warning(QStringLiteral("The settings file %1 cannot be parsed; it is treated as empty "
                               "and left as it is unless a setting changes")
                    .arg(*file));
    }
}

void Logger::info(const QString& message) {
    log(LogLevel::info, message);
}

void Logger::warning(const QString& message) {
    log(LogLevel::warning, message);
}

void Logger::error(const QString& message) {
    log(LogLevel::error, message);
}

void Logger::log(LogLevel level, const QString& message) {
    // Messages carry names and paths from bundles, tools and servers; shown
    // raw, a control character could rewrite a terminal. A newline is the
    // message's own and stays, so that a tool's output keeps its lines.
    const QString shown = printableText(message, LineBreaks::kept);
    if (sink) {
        sink(level, QStringLiteral("[%1] %2").arg(levelWord(level), shown));
    }
    writeToLogFile(shown, level);
}

void Logger::prepareLogFile() {
    if (logFilePath || !settings.boolValue(fileLoggingKey)) {
        return;
    }
    const QString path =
        QDir(desktopDirectory).filePath(QStringLiteral("TarnelLog-%1.log").arg(fileNameStamp()));
    logFilePath = path;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(fileLine(QStringLiteral("File logging started"), levelWord(LogLevel::info)));
    }
}

void Logger::writeToLogFile(const QString& message, LogLevel level) {
    if (!settings.boolValue(fileLoggingKey)) {
        return;
    }
    // Lines from several threads are whole and in order; a failure only
    // loses the line from the file.
    QMutexLocker lock(&fileMutex);
    prepareLogFile();
    if (!logFilePath) {
        return;
    }
    QFile file(*logFilePath);
    const QIODevice::OpenMode mode = file.exists() ? QIODevice::Append : QIODevice::WriteOnly;
    if (file.open(mode)) {
        file.write(fileLine(message, levelWord(level)));
    }
}

void Logger::stopFileLogging() {
    QMutexLocker lock(&fileMutex);
    if (logFilePath) {
        QFile::remove(*logFilePath);
    }
    logFilePath.reset();
}

std::optional<QString> Logger::currentLogFile() const {
    QMutexLocker lock(&fileMutex);
    return logFilePath;
}

}  // namespace tarnel
