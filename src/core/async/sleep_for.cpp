#include "core/async/sleep_for.h"

#include "core/async/cancellation_error.h"
#include "core/async/continuation.h"

#include <QTimer>

namespace tarnel {

QCoro::Task<> sleepFor(std::chrono::milliseconds duration, CancellationToken token) {
    token.throwIfCancelled();
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    CancellationRegistration registration;
    co_await suspendUntilResumed<void>([&](ContinuationResumer<void> resumer) {
        QObject::connect(&timer, &QTimer::timeout, [resumer] { resumer.resume(); });
        registration = token.onCancelled(
            [resumer] { resumer.fail(std::make_exception_ptr(CancellationError())); });
        timer.start(duration);
    });
}

}  // namespace tarnel
