#pragma once

#include <QMetaObject>
#include <QObject>
#include <QPointer>

#include <coroutine>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

#include <qcoro/qcorotask.h>

namespace tarnel {

// What a continuation stores for a result type; void results store nothing.
template <typename T>
using StoredResult = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

// Raised in the awaiting coroutine when every resumer was dropped unused.
class AbandonedContinuationError : public std::logic_error {
public:
    AbandonedContinuationError() : std::logic_error("The continuation was never resumed") {}
};

namespace detail {

// The shared state of one suspension. The first resume or fail wins; the
// coroutine always resumes on the thread it suspended on, through its event
// loop, so callers may resume from any thread and from inside the register
// callback itself.
// No outcome yet.
struct Unresolved {};

template <typename T>
using ContinuationOutcome = std::variant<Unresolved, StoredResult<T>, std::exception_ptr>;

template <typename T>
class ContinuationState {
public:
    bool complete(ContinuationOutcome<T> result) {
        QPointer<QObject> target;
        {
            std::lock_guard lock(mutex);
            if (hasOutcome) {
                return false;
            }
            hasOutcome = true;
            outcome = std::move(result);
            target = context;
        }
        if (target) {
            QMetaObject::invokeMethod(
                target,
                [this, target] {
                    target->deleteLater();
                    waiter.resume();
                },
                Qt::QueuedConnection);
        }
        return true;
    }

    void suspend(std::coroutine_handle<> handle, QObject* resumeContext) {
        waiter = handle;
        context = resumeContext;
    }

    StoredResult<T> take() {
        std::lock_guard lock(mutex);
        if (auto* error = std::get_if<std::exception_ptr>(&outcome)) {
            std::rethrow_exception(*error);
        }
        return std::move(std::get<1>(outcome));
    }

private:
    std::mutex mutex;
    bool hasOutcome = false;
    ContinuationOutcome<T> outcome;
    std::coroutine_handle<> waiter;
    QPointer<QObject> context;
};

// Fails the continuation when the last resumer goes away unused.
template <typename T>
class ContinuationGuard {
public:
    explicit ContinuationGuard(std::shared_ptr<ContinuationState<T>> state)
        : state(std::move(state)) {}
    ~ContinuationGuard() {
        state->complete(ContinuationOutcome<T>(
            std::in_place_index<2>, std::make_exception_ptr(AbandonedContinuationError())));
    }
    ContinuationGuard(const ContinuationGuard&) = delete;
    ContinuationGuard& operator=(const ContinuationGuard&) = delete;

    std::shared_ptr<ContinuationState<T>> state;
};

}  // namespace detail

// The callback side of a one-shot continuation: copyable, usable from any
// thread, and effective once. Returns whether this call was the one that
// resumed the coroutine.
template <typename T>
class ContinuationResumer {
public:
    explicit ContinuationResumer(std::shared_ptr<detail::ContinuationState<T>> state)
        : guard(std::make_shared<detail::ContinuationGuard<T>>(std::move(state))) {}

    template <typename U = T>
    requires(!std::is_void_v<U>) bool resume(U value) const {
        return guard->state->complete(
            detail::ContinuationOutcome<T>(std::in_place_index<1>, std::move(value)));
    }

    bool resume() const requires std::is_void_v<T> {
        return guard->state->complete(
            detail::ContinuationOutcome<T>(std::in_place_index<1>, StoredResult<T>{}));
    }

    bool fail(std::exception_ptr error) const {
        return guard->state->complete(
            detail::ContinuationOutcome<T>(std::in_place_index<2>, std::move(error)));
    }

private:
    std::shared_ptr<detail::ContinuationGuard<T>> guard;
};

namespace detail {

template <typename T, typename Register>
class ContinuationAwaiter {
public:
    ContinuationAwaiter(std::shared_ptr<ContinuationState<T>> state, Register& registerCallback)
        : state(std::move(state)), registerCallback(registerCallback) {}

    bool await_ready() const noexcept { return false; }

    void await_suspend(std::coroutine_handle<> handle) {
        state->suspend(handle, new QObject());
        registerCallback(ContinuationResumer<T>(state));
    }

    void await_resume() const noexcept {}

private:
    std::shared_ptr<ContinuationState<T>> state;
    Register& registerCallback;
};

}  // namespace detail

// Suspends the calling coroutine until the callback handed to
// `registerCallback` resumes it with a value or fails it with an error. The
// calling thread must run an event loop.
template <typename T, typename Register>
QCoro::Task<T> suspendUntilResumed(Register registerCallback) {
    auto state = std::make_shared<detail::ContinuationState<T>>();
    co_await detail::ContinuationAwaiter<T, Register>(state, registerCallback);
    if constexpr (std::is_void_v<T>) {
        state->take();
    } else {
        co_return state->take();
    }
}

}  // namespace tarnel
