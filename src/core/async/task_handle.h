#pragma once

#include "core/async/cancellation_source.h"
#include "core/async/cancellation_token.h"
#include "core/async/continuation.h"

#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include <qcoro/qcorotask.h>

namespace tarnel {

// A running task that its owner can keep (in a map, say), cancel, and await
// from any number of places until it ends. The body receives the task's
// cancellation token; cancelling only asks, the body decides when to stop.
template <typename T = void>
class TaskHandle {
public:
    TaskHandle() = default;

    // Starts `body(token)` at once. With a parent token the task is also
    // cancelled when the parent is.
    template <typename Body>
    static TaskHandle start(Body body, const CancellationToken& parent = {}) {
        TaskHandle handle;
        handle.state = std::make_shared<State>(parent);
        run(handle.state, std::move(body));
        return handle;
    }

    bool isValid() const { return state != nullptr; }
    void cancel() const {
        if (state) {
            state->cancellation.cancel();
        }
    }
    bool isCancelled() const { return state && state->cancellation.isCancelled(); }
    bool isFinished() const { return state && state->finished; }
    CancellationToken token() const {
        return state ? state->cancellation.token() : CancellationToken();
    }

    // Ends when the task ends, with its value or its error.
    QCoro::Task<T> result() const {
        const auto current = state;
        if (!current->finished) {
            co_await suspendUntilResumed<void>([current](ContinuationResumer<void> resumer) {
                current->waiters.push_back(std::move(resumer));
            });
        }
        if (current->error) {
            std::rethrow_exception(current->error);
        }
        if constexpr (!std::is_void_v<T>) {
            // A copy: returning the stored lvalue would move it out for
            // everyone who awaits later.
            co_return StoredResult<T>(*current->value);
        }
    }

private:
    struct State {
        explicit State(const CancellationToken& parent) : cancellation(parent) {}

        CancellationSource cancellation;
        bool finished = false;
        std::optional<StoredResult<T>> value;
        std::exception_ptr error;
        std::vector<ContinuationResumer<void>> waiters;
    };

    template <typename Body>
    static QCoro::Task<> run(std::shared_ptr<State> state, Body body) {
        try {
            if constexpr (std::is_void_v<T>) {
                co_await body(state->cancellation.token());
                state->value.emplace();
            } else {
                state->value.emplace(co_await body(state->cancellation.token()));
            }
        } catch (...) {
            state->error = std::current_exception();
        }
        state->finished = true;
        for (const auto& waiter : std::exchange(state->waiters, {})) {
            waiter.resume();
        }
    }

    std::shared_ptr<State> state;
};

}  // namespace tarnel
