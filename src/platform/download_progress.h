#pragma once

#include <QtGlobal>

#include <functional>
#include <optional>

namespace tarnel {

// What a streaming download reports while it runs, on the main thread. The
// callbacks must return quickly; either may be empty.
struct DownloadProgress {
    // Once, when the final answer's headers arrive: the length the server
    // announced, or nothing when it announced none or encoded the body.
    std::function<void(std::optional<qint64> expectedLength)> onExpectedLength;
    // After each piece of the body is written to the file: its size, an
    // increment, not a running total.
    std::function<void(qint64 increment)> onDataReceived;
};

}  // namespace tarnel
