#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace tarnel::detail {

// Shared by a cancellation source and its tokens. Cancelling may happen on any
// thread; the callbacks run on the thread that cancels.
class CancellationState {
public:
    bool isCancelled() const { return cancelled.load(std::memory_order_acquire); }

    // Runs the callback at once when already cancelled and returns 0.
    std::uint64_t addCallback(std::function<void()> callback);
    void removeCallback(std::uint64_t id);
    void cancel();

private:
    std::atomic<bool> cancelled{false};
    std::mutex mutex;
    std::map<std::uint64_t, std::function<void()>> callbacks;
    std::uint64_t nextId = 1;
};

}  // namespace tarnel::detail
