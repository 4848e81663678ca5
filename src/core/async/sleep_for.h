#pragma once

#include "core/async/cancellation_token.h"

#include <chrono>

#include <qcoro/qcorotask.h>

namespace tarnel {

// Waits for the duration on a monotonic timer. Ends early with
// CancellationError when the token is cancelled, before or during the wait.
QCoro::Task<> sleepFor(std::chrono::milliseconds duration, CancellationToken token = {});

}  // namespace tarnel
