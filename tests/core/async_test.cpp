#include "core/async/async_mutex.h"
#include "core/async/cancellation_error.h"
#include "core/async/cancellation_source.h"
#include "core/async/continuation.h"
#include "core/async/failure_of.h"
#include "core/async/sleep_for.h"
#include "core/async/task_group.h"
#include "core/async/task_handle.h"
#include "core/async/worker_pool.h"
#include "support/await.h"

#include <QElapsedTimer>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

using namespace tarnel;
using namespace std::chrono_literals;

namespace {

class TestFailure : public std::runtime_error {
public:
    explicit TestFailure(int code) : std::runtime_error("failure"), code(code) {}
    int code;
};

QCoro::Task<int> delayedValue(int value, std::chrono::milliseconds delay) {
    co_await sleepFor(delay);
    co_return value;
}

}  // namespace

TEST(SleepFor, WaitsAtLeastTheDuration) {
    QElapsedTimer elapsed;
    elapsed.start();
    await(sleepFor(60ms));
    EXPECT_GE(elapsed.elapsed(), 55);
}

TEST(SleepFor, EndsEarlyWithCancellationWhenTheTokenIsCancelled) {
    CancellationSource source;
    QTimer::singleShot(20ms, [&] { source.cancel(); });
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_THROW(await(sleepFor(10s, source.token())), CancellationError);
    EXPECT_LT(elapsed.elapsed(), 5000);
}

TEST(SleepFor, ThrowsAtOnceWhenAlreadyCancelled) {
    CancellationSource source;
    source.cancel();
    EXPECT_THROW(await(sleepFor(10s, source.token())), CancellationError);
}

TEST(SleepFor, CancellingFromAnotherThreadEndsTheSleep) {
    CancellationSource source;
    std::thread canceller([&] {
        std::this_thread::sleep_for(30ms);
        source.cancel();
    });
    EXPECT_THROW(await(sleepFor(10s, source.token())), CancellationError);
    canceller.join();
}

TEST(TaskHandle, GivesTheBodysValueToEveryAwaiter) {
    auto handle = TaskHandle<int>::start(
        [](CancellationToken) -> QCoro::Task<int> { return delayedValue(7, 20ms); });
    auto first = [](TaskHandle<int> h) -> QCoro::Task<int> { co_return co_await h.result(); };
    auto firstTask = first(handle);
    auto secondTask = first(handle);
    EXPECT_EQ(await(std::move(firstTask)), 7);
    EXPECT_EQ(await(std::move(secondTask)), 7);
    EXPECT_TRUE(handle.isFinished());
    // Awaiting a finished task still gives its value.
    EXPECT_EQ(await(handle.result()), 7);
}

TEST(TaskHandle, EveryAwaiterGetsItsOwnCopyOfTheValue) {
    auto handle = TaskHandle<QString>::start([](CancellationToken) -> QCoro::Task<QString> {
        co_await sleepFor(5ms);
        co_return QStringLiteral("shared result");
    });
    EXPECT_EQ(await(handle.result()), QStringLiteral("shared result"));
    EXPECT_EQ(await(handle.result()), QStringLiteral("shared result"));
}

TEST(TaskHandle, RethrowsTheBodysErrorToEveryAwaiter) {
    auto handle = TaskHandle<int>::start([](CancellationToken) -> QCoro::Task<int> {
        co_await sleepFor(10ms);
        throw TestFailure(3);
    });
    EXPECT_THROW(await(handle.result()), TestFailure);
    EXPECT_THROW(await(handle.result()), TestFailure);
}

TEST(TaskHandle, CancelIsSeenInsideTheTask) {
    std::atomic<bool> sawCancellation = false;
    auto handle = TaskHandle<void>::start([&](CancellationToken token) -> QCoro::Task<> {
        while (!token.isCancelled()) {
            co_await sleepFor(5ms);
        }
        sawCancellation = true;
    });
    EXPECT_FALSE(handle.isCancelled());
    QTimer::singleShot(20ms, [handle] { handle.cancel(); });
    await(handle.result());
    EXPECT_TRUE(handle.isCancelled());
    EXPECT_TRUE(sawCancellation);
}

TEST(TaskHandle, CancellingEndsASleepInsideTheTask) {
    auto handle = TaskHandle<void>::start(
        [](CancellationToken token) -> QCoro::Task<> { co_await sleepFor(10s, token); });
    QTimer::singleShot(10ms, [handle] { handle.cancel(); });
    EXPECT_THROW(await(handle.result()), CancellationError);
}

TEST(TaskHandle, CanBeKeptInAMapByKey) {
    QHash<QString, TaskHandle<int>> tasks;
    tasks.insert(QStringLiteral("a"),
                 TaskHandle<int>::start([](CancellationToken) { return delayedValue(1, 5ms); }));
    tasks.insert(QStringLiteral("b"),
                 TaskHandle<int>::start([](CancellationToken) { return delayedValue(2, 5ms); }));
    EXPECT_EQ(await(tasks.value(QStringLiteral("b")).result()), 2);
    EXPECT_EQ(await(tasks.value(QStringLiteral("a")).result()), 1);
}

TEST(TaskHandle, ParentCancellationReachesTheChild) {
    CancellationSource parent;
    auto handle = TaskHandle<void>::start(
        [](CancellationToken token) -> QCoro::Task<> { co_await sleepFor(10s, token); },
        parent.token());
    parent.cancel();
    EXPECT_TRUE(handle.isCancelled());
    EXPECT_THROW(await(handle.result()), CancellationError);
}

TEST(FailureOf, GivesNothingForATaskThatSucceeds) {
    auto succeeding = []() -> QCoro::Task<int> { co_return 7; };
    EXPECT_FALSE(await(failureOf(succeeding())).has_value());
}

TEST(FailureOf, GivesTheErrorOfATaskThatFails) {
    auto failing = []() -> QCoro::Task<> {
        co_await sleepFor(std::chrono::milliseconds(1));
        throw std::runtime_error("broken");
    };
    const auto failure = await(failureOf(failing()));
    ASSERT_TRUE(failure.has_value());
    EXPECT_THROW(std::rethrow_exception(*failure), std::runtime_error);
}

TEST(TaskGroup, HandsResultsOverInFinishingOrder) {
    auto run = []() -> QCoro::Task<QList<int>> {
        TaskGroup<int> group;
        group.add([](CancellationToken) { return delayedValue(1, 120ms); });
        group.add([](CancellationToken) { return delayedValue(2, 10ms); });
        group.add([](CancellationToken) { return delayedValue(3, 60ms); });
        QList<int> order;
        while (auto value = co_await group.next()) {
            order.append(*value);
        }
        co_return order;
    };
    EXPECT_EQ(await(run()), (QList<int>{2, 3, 1}));
}

TEST(TaskGroup, RunsManyChildrenAtOnceWithoutALimit) {
    auto run = []() -> QCoro::Task<int> {
        TaskGroup<int> group;
        for (int index = 0; index < 300; ++index) {
            group.add([index](CancellationToken) { return delayedValue(index, 100ms); });
        }
        int count = 0;
        while (co_await group.next()) {
            ++count;
        }
        co_return count;
    };
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(await(run()), 300);
    // Sequential children would need 30 seconds.
    EXPECT_LT(elapsed.elapsed(), 10000);
}

TEST(TaskGroup, EndsTheRestAndRethrowsWhenAChildFails) {
    auto cancelledSleeps = std::make_shared<std::atomic<int>>(0);
    auto run = [cancelledSleeps]() -> QCoro::Task<> {
        TaskGroup<int> group;
        for (int index = 0; index < 3; ++index) {
            group.add([cancelledSleeps](CancellationToken token) -> QCoro::Task<int> {
                try {
                    co_await sleepFor(10s, token);
                } catch (const CancellationError&) {
                    ++*cancelledSleeps;
                    throw;
                }
                co_return 0;
            });
        }
        group.add([](CancellationToken) -> QCoro::Task<int> {
            co_await sleepFor(10ms);
            throw TestFailure(9);
        });
        while (co_await group.next()) {
        }
    };
    try {
        await(run());
        FAIL() << "the group did not rethrow";
    } catch (const TestFailure& failure) {
        EXPECT_EQ(failure.code, 9);
    }
    EXPECT_EQ(cancelledSleeps->load(), 3);
}

TEST(TaskGroup, AnEmptyGroupEndsAtOnce) {
    auto run = []() -> QCoro::Task<bool> {
        TaskGroup<int> group;
        co_return !(co_await group.next()).has_value();
    };
    EXPECT_TRUE(await(run()));
}

TEST(WorkerPool, RunsTheFunctionOffTheCallingThread) {
    QThread* const mainThread = QThread::currentThread();
    auto run = [mainThread]() -> QCoro::Task<bool> {
        const bool ranElsewhere = co_await runOnWorkerPool(
            [mainThread] { return QThread::currentThread() != mainThread; });
        // The caller resumes on its own thread.
        co_return ranElsewhere&& QThread::currentThread() == mainThread;
    };
    EXPECT_TRUE(await(run()));
}

TEST(WorkerPool, RethrowsTheFunctionsOwnErrorType) {
    EXPECT_THROW(await(runOnWorkerPool([]() -> int { throw TestFailure(1); })), TestFailure);
}

TEST(WorkerPool, ReturnsMoveOnlyResults) {
    auto result = await(runOnWorkerPool([] { return std::make_unique<int>(42); }));
    ASSERT_TRUE(result);
    EXPECT_EQ(*result, 42);
}

TEST(Continuation, ResumesWithTheValueFromAnotherThread) {
    auto value = await(suspendUntilResumed<int>([](ContinuationResumer<int> resumer) {
        std::thread([resumer] { resumer.resume(5); }).detach();
    }));
    EXPECT_EQ(value, 5);
}

TEST(Continuation, OnlyTheFirstResumeCounts) {
    std::vector<bool> outcomes;
    auto value = await(suspendUntilResumed<int>([&](ContinuationResumer<int> resumer) {
        outcomes.push_back(resumer.resume(1));
        outcomes.push_back(resumer.resume(2));
        outcomes.push_back(resumer.fail(std::make_exception_ptr(TestFailure(0))));
    }));
    EXPECT_EQ(value, 1);
    EXPECT_EQ(outcomes, (std::vector<bool>{true, false, false}));
}

TEST(Continuation, FailsWithTheGivenError) {
    EXPECT_THROW(await(suspendUntilResumed<void>([](ContinuationResumer<void> resumer) {
                     resumer.fail(std::make_exception_ptr(TestFailure(2)));
                 })),
                 TestFailure);
}

TEST(Continuation, ADroppedResumerFailsTheAwaitInsteadOfHanging) {
    EXPECT_THROW(await(suspendUntilResumed<int>([](ContinuationResumer<int>) {})),
                 AbandonedContinuationError);
}

TEST(AsyncMutex, LetsHoldersTakeTurnsInArrivalOrder) {
    AsyncMutex mutex;
    QStringList events;
    auto worker = [&](QString name) -> QCoro::Task<> {
        auto lock = co_await mutex.lock();
        events.append(name + QStringLiteral(" in"));
        co_await sleepFor(20ms);
        events.append(name + QStringLiteral(" out"));
    };
    auto first = worker(QStringLiteral("a"));
    auto second = worker(QStringLiteral("b"));
    auto third = worker(QStringLiteral("c"));
    await(std::move(first));
    await(std::move(second));
    await(std::move(third));
    EXPECT_EQ(events, (QStringList{u"a in"_qs, u"a out"_qs, u"b in"_qs, u"b out"_qs, u"c in"_qs,
                                   u"c out"_qs}));
    EXPECT_FALSE(mutex.isLocked());
}
