#include "core/async/cancellation_source.h"

#include "core/async/cancellation_state.h"

namespace tarnel {

CancellationSource::CancellationSource() : state(std::make_shared<detail::CancellationState>()) {}

CancellationSource::CancellationSource(const CancellationToken& parent) : CancellationSource() {
    std::weak_ptr<detail::CancellationState> weak = state;
    parentRegistration = parent.onCancelled([weak] {
        if (const auto locked = weak.lock()) {
            locked->cancel();
        }
    });
}

void CancellationSource::cancel() {
    state->cancel();
}

bool CancellationSource::isCancelled() const {
    return state->isCancelled();
}

CancellationToken CancellationSource::token() const {
    return CancellationToken(state);
}

}  // namespace tarnel
