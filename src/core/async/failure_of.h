#pragma once

#include <exception>
#include <optional>
#include <utility>

#include <qcoro/qcorotask.h>

namespace tarnel {

// Awaits the task, dropping its value, and gives the error it ended with,
// or nothing. Lets a caller clean up with awaits of its own before it
// rethrows, which a catch handler cannot do.
template <typename T>
QCoro::Task<std::optional<std::exception_ptr>> failureOf(QCoro::Task<T> task) {
    try {
        co_await std::move(task);
    } catch (...) {
        // Spelled out: a bare error pointer would be stored as the task's own
        // error and thrown at the awaiter.
        co_return std::optional<std::exception_ptr>(std::current_exception());
    }
    co_return std::nullopt;
}

}  // namespace tarnel
