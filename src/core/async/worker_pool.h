#pragma once

#include "core/async/continuation.h"

#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <exception>
#include <memory>
#include <type_traits>
#include <utility>

#include <qcoro/qcorotask.h>

namespace tarnel {

// Runs a pure function on the worker pool and resumes the caller on its own
// thread with the result or the exception the function threw. The function
// must own what it reads: pass copies or immutable snapshots.
template <typename Function>
auto runOnWorkerPool(Function function) -> QCoro::Task<std::invoke_result_t<Function>> {
    using Result = std::invoke_result_t<Function>;
    auto shared = std::make_shared<Function>(std::move(function));
    co_return co_await suspendUntilResumed<Result>([shared](ContinuationResumer<Result> resumer) {
        // The caller is resumed through the continuation, not the future.
        (void)QtConcurrent::run(QThreadPool::globalInstance(), [shared, resumer] {
            try {
                if constexpr (std::is_void_v<Result>) {
                    (*shared)();
                    resumer.resume();
                } else {
                    resumer.resume((*shared)());
                }
            } catch (...) {
                resumer.fail(std::current_exception());
            }
        });
    });
}

}  // namespace tarnel
