#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

// Prints the usual table, then a summary that sets each measurement against
// its floor from the same run. CPU time, since the machine may be shared.
class FloorReporter : public benchmark::ConsoleReporter {
public:
    using CpuTimes = std::map<std::string, double>;

    explicit FloorReporter(std::function<void(const CpuTimes&)> summary)
        : summary(std::move(summary)) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                times[run.benchmark_name()] = run.GetAdjustedCPUTime();
            }
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        summary(times);
    }

private:
    std::function<void(const CpuTimes&)> summary;
    CpuTimes times;
};
