#pragma once

#include "core/async/cancellation_registration.h"
#include "core/async/cancellation_token.h"

#include <memory>

namespace tarnel {

namespace detail {
class CancellationState;
}

// The owner side of cancellation. A source made from a parent token is
// cancelled together with its parent.
class CancellationSource {
public:
    CancellationSource();
    explicit CancellationSource(const CancellationToken& parent);

    void cancel();
    bool isCancelled() const;
    CancellationToken token() const;

private:
    std::shared_ptr<detail::CancellationState> state;
    CancellationRegistration parentRegistration;
};

}  // namespace tarnel
