#pragma once

#include "core/async/continuation.h"

#include <deque>
#include <memory>

#include <qcoro/qcorotask.h>

namespace tarnel {

class AsyncMutex;

// Holds the mutex until destroyed, then hands it to the next waiter.
class AsyncMutexLock {
public:
    AsyncMutexLock(AsyncMutexLock&& other) noexcept;
    AsyncMutexLock& operator=(AsyncMutexLock&&) = delete;
    AsyncMutexLock(const AsyncMutexLock&) = delete;
    AsyncMutexLock& operator=(const AsyncMutexLock&) = delete;
    ~AsyncMutexLock();

private:
    friend class AsyncMutex;
    explicit AsyncMutexLock(AsyncMutex* mutex) : mutex(mutex) {}

    AsyncMutex* mutex;
};

// Lets coroutines on one thread take turns without blocking the thread: a
// second lock() suspends until the first holder lets go, in arrival order.
class AsyncMutex {
public:
    QCoro::Task<AsyncMutexLock> lock();
    bool isLocked() const { return locked; }

private:
    friend class AsyncMutexLock;
    void unlock();

    bool locked = false;
    std::deque<ContinuationResumer<void>> waiters;
};

}  // namespace tarnel
