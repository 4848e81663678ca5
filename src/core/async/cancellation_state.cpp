#include "core/async/cancellation_state.h"

#include <vector>

namespace tarnel::detail {

std::uint64_t CancellationState::addCallback(std::function<void()> callback) {
    {
        std::lock_guard lock(mutex);
        if (!isCancelled()) {
            const std::uint64_t id = nextId++;
            callbacks.emplace(id, std::move(callback));
            return id;
        }
    }
    callback();
    return 0;
}

void CancellationState::removeCallback(std::uint64_t id) {
    std::function<void()> removed;
    std::lock_guard lock(mutex);
    if (const auto found = callbacks.find(id); found != callbacks.end()) {
        removed = std::move(found->second);
        callbacks.erase(found);
    }
}

void CancellationState::cancel() {
    std::vector<std::function<void()>> toRun;
    {
        std::lock_guard lock(mutex);
        if (cancelled.exchange(true, std::memory_order_acq_rel)) {
            return;
        }
        for (auto& [id, callback] : callbacks) {
            toRun.push_back(std::move(callback));
        }
        callbacks.clear();
    }
    for (auto& callback : toRun) {
        callback();
    }
}

}  // namespace tarnel::detail
