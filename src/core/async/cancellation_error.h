#pragma once

#include <exception>

namespace tarnel {

// Thrown by an await that ended early because its task was cancelled.
class CancellationError : public std::exception {
public:
    const char* what() const noexcept override { return "The task was cancelled"; }
};

}  // namespace tarnel
