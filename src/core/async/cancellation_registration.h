#pragma once

#include <cstdint>
#include <memory>

namespace tarnel {

namespace detail {
class CancellationState;
}

// Keeps a cancellation callback registered for as long as it lives.
class CancellationRegistration {
public:
    CancellationRegistration() = default;
    CancellationRegistration(std::weak_ptr<detail::CancellationState> state, std::uint64_t id);
    CancellationRegistration(CancellationRegistration&& other) noexcept;
    CancellationRegistration& operator=(CancellationRegistration&& other) noexcept;
    CancellationRegistration(const CancellationRegistration&) = delete;
    CancellationRegistration& operator=(const CancellationRegistration&) = delete;
    ~CancellationRegistration();

    void reset();

private:
    std::weak_ptr<detail::CancellationState> state;
    std::uint64_t id = 0;
};

}  // namespace tarnel
