#pragma once

#include <QDateTime>

namespace tarnel {

// The source of "now" for cache lifetimes and throttles.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
};

}  // namespace tarnel
