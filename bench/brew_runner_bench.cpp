// The cost of running `brew` through BrewService against a bare process
// start-and-wait of the same executable, both on fake-brew --version.

#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_clock.h"
#include "core/system_layout.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_service.h"
#include "platform/https_client.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include "event_loop_main.h"

#include <benchmark/benchmark.h>

#include <qcoro/qcorotask.h>

using namespace tarnel;

namespace {

// A fake-brew named "brew" with its state beside it, and the services over it.
struct Fixture {
    Fixture()
        : settings(root.filePath(QStringLiteral("settings.json"))),
          logger({}, settings, root.filePath(QStringLiteral("Desktop"))) {
        brew = root.filePath(QStringLiteral("bin/brew"));
        QDir().mkpath(root.filePath(QStringLiteral("bin")));
        QDir().mkpath(root.filePath(QStringLiteral("state")));
        QFile::link(QStringLiteral(TARNEL_BIN_DIR "/fake-brew"), brew);
        QFile state(brew + QStringLiteral(".state"));
        state.open(QIODevice::WriteOnly);
        state.write(QFile::encodeName(root.filePath(QStringLiteral("state"))));
        state.close();

        layout.brewCandidates = {brew};
        layout.homeDirectory = root.path();
        layout.temporaryDirectory = root.path();
        askpass = std::make_unique<AskpassService>(logger, layout);
        httpsClient = std::make_unique<HttpsClient>(layout);
        service = std::make_unique<BrewService>(logger, *askpass, *httpsClient, layout, clock);
    }

    QTemporaryDir root;
    QString brew;
    SettingsStore settings;
    Logger logger;
    SystemClock clock;
    SystemLayout layout;
    std::unique_ptr<AskpassService> askpass;
    std::unique_ptr<HttpsClient> httpsClient;
    std::unique_ptr<BrewService> service;
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

void plainProcess(benchmark::State& state) {
    Fixture& setup = fixture();
    for (auto _ : state) {
        QProcess process;
        process.start(setup.brew, {QStringLiteral("--version")});
        process.waitForFinished(-1);
        benchmark::DoNotOptimize(process.readAllStandardOutput());
    }
}

void brewRunner(benchmark::State& state) {
    Fixture& setup = fixture();
    for (auto _ : state) {
        benchmark::DoNotOptimize(QCoro::waitFor(setup.service->executeBrewCommand(
            {QStringLiteral("--version")}, false, false, {}, true)));
    }
}

}  // namespace

BENCHMARK(plainProcess)->Unit(benchmark::kMillisecond)->MinTime(3.0);
BENCHMARK(brewRunner)->Unit(benchmark::kMillisecond)->MinTime(3.0);

int main(int argc, char** argv) {
    return runBenchmarksWithEventLoop(argc, argv);
}
