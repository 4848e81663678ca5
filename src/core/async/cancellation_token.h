#pragma once

#include "core/async/cancellation_registration.h"

#include <functional>
#include <memory>

namespace tarnel {

namespace detail {
class CancellationState;
}

// The task side of cancellation: asks whether the task was cancelled. A
// default token is never cancelled.
class CancellationToken {
public:
    CancellationToken() = default;

    bool isCancelled() const;
    void throwIfCancelled() const;

    // The callback runs once, on the cancelling thread, or at once when the
    // token is already cancelled. Dropping the registration unregisters it.
    [[nodiscard]] CancellationRegistration onCancelled(std::function<void()> callback) const;

private:
    friend class CancellationSource;
    explicit CancellationToken(std::shared_ptr<detail::CancellationState> state);

    std::shared_ptr<detail::CancellationState> state;
};

}  // namespace tarnel
