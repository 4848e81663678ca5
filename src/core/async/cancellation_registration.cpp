#include "core/async/cancellation_registration.h"

#include "core/async/cancellation_state.h"

#include <utility>

namespace tarnel {

CancellationRegistration::CancellationRegistration(std::weak_ptr<detail::CancellationState> state,
                                                   std::uint64_t id)
    : state(std::move(state)), id(id) {}

CancellationRegistration::CancellationRegistration(CancellationRegistration&& other) noexcept
    : state(std::move(other.state)), id(std::exchange(other.id, 0)) {}

CancellationRegistration& CancellationRegistration::operator=(
    CancellationRegistration&& other) noexcept {
    if (this != &other) {
        reset();
        state = std::move(other.state);
        id = std::exchange(other.id, 0);
    }
    return *this;
}

CancellationRegistration::~CancellationRegistration() {
    reset();
}

void CancellationRegistration::reset() {
    if (id != 0) {
        if (const auto locked = state.lock()) {
            locked->removeCallback(id);
        }
    }
    id = 0;
    state.reset();
}

}  // namespace tarnel
