// Checking the update feeds of 100 applications, one at a time, through the
// update service and the portable engine, from the call to the list of
// updates, against the floor of plain GETs of the same 100 feeds, one at a
// time, through the same HTTPS client with the same trust. Each iteration
// runs a round of both, each on a client of its own made outside the timing,
// so that a change in the machine's load falls on both alike. Wall time, since
// the engine parses on the worker pool and the server answers on its own
// threads; and the processor time of the whole process beside it.

#include "core/system_clock.h"
#include "feed_sandbox.h"
#include "platform/appcast/appcast_updater_factory.h"
#include "platform/https_client.h"
#include "round_timer.h"
#include "updates/sparkle_service.h"

#include "event_loop_main.h"

#include <benchmark/benchmark.h>

#include <memory>

#include <qcoro/qcorotask.h>

using namespace tarnel;

namespace {

constexpr int applicationCount = 100;

// The 100 bundles, their feeds on a loopback server and the applications as
// discovery reads them, made once.
struct Machine {
    Machine() {
        for (const QString& name : applicationNames()) {
            if (applications.size() == applicationCount) {
                return;
            }
            if (auto application = sandbox.publish(name)) {
                applications.append(std::move(*application));
            }
        }
        failSetup("too few application names");
    }

    FeedSandbox sandbox;
    SystemClock clock;
    QList<Application> applications;
};

Machine& machine() {
    static Machine instance;
    return instance;
}

// What a command-line check builds: one client, the engine over it and the
// service over that, made afresh so that neither a connection nor a cached
// answer carries over from the round before.
struct CheckServices {
    explicit CheckServices(Machine& machine)
        : client(machine.sandbox.layout),
          factory(client, machine.clock, AppcastEngineSettings::of(machine.sandbox.layout)),
          service(machine.sandbox.logger, factory, machine.clock) {}

    HttpsClient client;
    AppcastUpdaterFactory factory;
    SparkleService service;
};

void feedCheck(benchmark::State& state) {
    Machine& setup = machine();
    RoundTimes floor;
    RoundTimes check;
    for (auto _ : state) {
        auto floorClient = std::make_unique<HttpsClient>(setup.sandbox.layout);
        const RoundTimer floorTimer;
        const qint64 received =
            QCoro::waitFor(getEveryFeed(*floorClient, setup.sandbox.feedUrls()));
        floor.add(floorTimer);
        floorClient.reset();

        auto services = std::make_unique<CheckServices>(setup);
        const RoundTimer checkTimer;
        const QList<SparkleUpdate> updates =
            QCoro::waitFor(services->service.checkForUpdates(setup.applications));
        check.add(checkTimer);
        state.SetIterationTime(checkTimer.wallSeconds());
        services.reset();

        if (received != setup.sandbox.feedBytes() ||
            updates.size() != setup.sandbox.laggingApplications()) {
            state.SkipWithError("a round did not fetch every feed or find every update");
            return;
        }
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["floor_ms"] = floor.wall * 1000.0 / rounds;
    state.counters["check_ms"] = check.wall * 1000.0 / rounds;
    state.counters["ratio"] = check.wall / floor.wall;
    state.counters["cpu_ratio"] = check.processor / floor.processor;
    state.counters["feed_kB"] =
        static_cast<double>(setup.sandbox.feedBytes()) / applicationCount / 1000.0;
}

}  // namespace

// The time of a round is that of the checks; `ratio` sets it against the
// floor in wall time (goal: at most 1.2), `cpu_ratio` in the processor time
// of the whole process, which a busy machine disturbs less.
BENCHMARK(feedCheck)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(3.0);

int main(int argc, char** argv) {
    return runBenchmarksWithEventLoop(argc, argv);
}
