#pragma once

#include <QCoreApplication>

#include <benchmark/benchmark.h>

// Runs the benchmarks with an application object, so that coroutines can
// resume through its event loop.
inline int runBenchmarksWithEventLoop(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
