#pragma once

#include <QString>

#include <functional>

namespace tarnel {

enum class LogLevel { info, warning, error };

// The level's word as it stands in the file and in the platform log.
QString levelWord(LogLevel level);

// Where a formatted line ("[INFO] message") goes besides the file: the
// platform log in production, a capture in tests. Called from any thread.
using LogSink = std::function<void(LogLevel level, const QString& formattedLine)>;

}  // namespace tarnel
