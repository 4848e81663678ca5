#include "core/async/async_mutex.h"

#include <utility>

namespace tarnel {

AsyncMutexLock::AsyncMutexLock(AsyncMutexLock&& other) noexcept
    : mutex(std::exchange(other.mutex, nullptr)) {}

AsyncMutexLock::~AsyncMutexLock() {
    if (mutex) {
        mutex->unlock();
    }
}

QCoro::Task<AsyncMutexLock> AsyncMutex::lock() {
    if (locked) {
        // Ownership passes straight to the woken waiter, so `locked` stays set.
        co_await suspendUntilResumed<void>(
            [this](ContinuationResumer<void> resumer) { waiters.push_back(std::move(resumer)); });
    }
    locked = true;
    co_return AsyncMutexLock(this);
}

void AsyncMutex::unlock() {
    if (waiters.empty()) {
        locked = false;
        return;
    }
    auto next = std::move(waiters.front());
    waiters.pop_front();
    next.resume();
}

}  // namespace tarnel
