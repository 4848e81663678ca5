#pragma once

#include "updates/sparkle_framework_error.h"

#include <exception>

namespace tarnel {

struct AppcastItem;

// The item as the driver reads it.
SparkleAppcastItem driverItem(const AppcastItem& item);

// Any failure of a check or an install, in the framework's error domain and
// codes, as the driver receives it.
SparkleFrameworkError driverError(const std::exception_ptr& failure);

}  // namespace tarnel
