#pragma once

#include <QEventLoop>

#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

#include <qcoro/qcorotask.h>

namespace detail {

template <typename T>
QCoro::Task<> driveToEnd(QCoro::Task<T> task,
                         std::optional<std::conditional_t<std::is_void_v<T>, bool, T>>& value,
                         std::exception_ptr& error, bool& done, QEventLoop& loop) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
            value.emplace(true);
        } else {
            value.emplace(co_await task);
        }
    } catch (...) {
        error = std::current_exception();
    }
    done = true;
    loop.quit();
}

}  // namespace detail

// Runs a nested event loop until the task ends, then gives its result or
// rethrows its error. Only tests may wait like this.
template <typename T>
T await(QCoro::Task<T>&& task) {
    QEventLoop loop;
    std::optional<std::conditional_t<std::is_void_v<T>, bool, T>> value;
    std::exception_ptr error;
    bool done = false;
    auto driver = detail::driveToEnd(std::move(task), value, error, done, loop);
    if (!done) {
        loop.exec();
    }
    if (error) {
        std::rethrow_exception(error);
    }
    if constexpr (!std::is_void_v<T>) {
        return std::move(*value);
    }
}
