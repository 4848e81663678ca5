#pragma once

#include <QDateTime>

#include <chrono>
#include <optional>

namespace tarnel {

// The source of "now" for cache lifetimes and throttles.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;

    // Whether `stamp` is set and lies less than `lifetime` back: the one test
    // behind every cache and throttle.
    bool isWithin(const std::optional<QDateTime>& stamp, std::chrono::seconds lifetime) const {
        return stamp && std::chrono::milliseconds(stamp->msecsTo(now())) < lifetime;
    }
};

}  // namespace tarnel
