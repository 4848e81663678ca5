#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

// Prints the usual table, then a summary that sets each measurement against
// its floor from the same run. CPU time by default, since the machine may be
// shared; wall time where a floor runs in other processes.
class FloorReporter : public benchmark::ConsoleReporter {
public:
    enum class Clock { cpu, wall };
    using Times = std::map<std::string, double>;

    explicit FloorReporter(std::function<void(const Times&)> summary, Clock clock = Clock::cpu)
        : summary(std::move(summary)), clock(clock) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                times[run.benchmark_name()] =
                    clock == Clock::cpu ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime();
            }
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        summary(times);
    }

private:
    std::function<void(const Times&)> summary;
    Clock clock;
    Times times;
};
