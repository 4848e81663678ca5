#pragma once

#include "core/clock.h"

namespace tarnel {

class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
};

}  // namespace tarnel
