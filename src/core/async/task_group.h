#pragma once

#include "core/async/cancellation_source.h"
#include "core/async/continuation.h"
#include "core/async/task_handle.h"

#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <qcoro/qcorotask.h>

namespace tarnel {

// Fans out any number of child tasks, with no limit, and hands their results
// over in the order in which they finish. Children share the group's
// cancellation, which follows the parent token given at construction.
template <typename T>
class TaskGroup {
public:
    explicit TaskGroup(const CancellationToken& parent = {})
        : state(std::make_shared<State>(parent)) {}

    // Starts `body(token)` at once as a child.
    template <typename Body>
    void add(Body body) {
        auto child = TaskHandle<T>::start(std::move(body), state->cancellation.token());
        ++state->pending;
        watch(state, child);
    }

    int remaining() const { return state->pending; }
    void cancelAll() { state->cancellation.cancel(); }

    // The next result in finishing order, or nothing when every child has been
    // handed over. When a child failed, the rest are cancelled and awaited,
    // then its error is rethrown.
    QCoro::Task<std::optional<StoredResult<T>>> next() {
        const auto current = state;
        while (current->finished.empty()) {
            if (current->pending == 0) {
                co_return std::nullopt;
            }
            co_await suspendUntilResumed<void>([current](ContinuationResumer<void> resumer) {
                current->waiter = std::move(resumer);
            });
        }
        TaskHandle<T> child = current->finished.front();
        current->finished.pop_front();
        --current->pending;
        std::exception_ptr error;
        try {
            if constexpr (std::is_void_v<T>) {
                co_await child.result();
                co_return StoredResult<T>{};
            } else {
                co_return co_await child.result();
            }
        } catch (...) {
            error = std::current_exception();
        }
        co_await endRemaining();
        std::rethrow_exception(error);
    }

    // Cancels every child still running and waits for all of them to end,
    // dropping their results and errors.
    QCoro::Task<> endRemaining() {
        cancelAll();
        const auto current = state;
        while (current->pending > 0) {
            try {
                co_await next();
            } catch (...) {
                // The children's own errors are of no interest once the group ends.
            }
        }
    }

private:
    struct State {
        explicit State(const CancellationToken& parent) : cancellation(parent) {}

        CancellationSource cancellation;
        int pending = 0;
        std::deque<TaskHandle<T>> finished;
        std::optional<ContinuationResumer<void>> waiter;
    };

    static QCoro::Task<> watch(std::shared_ptr<State> state, TaskHandle<T> child) {
        try {
            co_await child.result();
        } catch (...) {
            // The error is rethrown to whoever takes this child from next().
        }
        state->finished.push_back(child);
        if (state->waiter) {
            std::exchange(state->waiter, std::nullopt)->resume();
        }
    }

    std::shared_ptr<State> state;
};

}  // namespace tarnel
