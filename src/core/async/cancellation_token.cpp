#include "core/async/cancellation_token.h"

#include "core/async/cancellation_error.h"
#include "core/async/cancellation_state.h"

namespace tarnel {

CancellationToken::CancellationToken(std::shared_ptr<detail::CancellationState> state)
    : state(std::move(state)) {}

bool CancellationToken::isCancelled() const {
    return state && state->isCancelled();
}

void CancellationToken::throwIfCancelled() const {
    if (isCancelled()) {
        throw CancellationError();
    }
}

CancellationRegistration CancellationToken::onCancelled(std::function<void()> callback) const {
    if (!state) {
        return {};
    }
    const auto id = state->addCallback(std::move(callback));
    return CancellationRegistration(state, id);
}

}  // namespace tarnel
