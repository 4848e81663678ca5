// Matching every application of a typical /Applications against the whole
// catalogue, as discovery does once per bundle.
#include "core/logger.h"
#include "core/settings_store.h"
#include "floor_reporter.h"
#include "homebrew/cask_catalogue_parser.h"
#include "homebrew/cask_index.h"
#include "homebrew/cask_matcher.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

using namespace tarnel;

namespace {

QByteArray readShared(const char* relativePath) {
    QFile file(QStringLiteral(TARNEL_SHARED_DIR "/data/") + QString::fromUtf8(relativePath));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
        std::exit(1);
    }
    return file.readAll();
}

struct Workload {
    std::shared_ptr<const CaskIndex> index;
    QList<Application> applications;
    // Forty tokens spread over the catalogue, as a long-used machine has.
    QStringList installedTokens;
};

const Workload& workload() {
    static const Workload loaded = [] {
        Workload result;
        result.index = std::make_shared<const CaskIndex>(parseCaskCatalogue(
            readShared("catalogue.json"), false, QStringLiteral("/Applications")));
        for (const QString& name :
             QString::fromUtf8(readShared("app-names.txt")).split(u'\n', Qt::SkipEmptyParts)) {
            Application application;
            application.name = name;
            application.displayName = name;
            application.bundlePath =
                QStringLiteral("/Applications/") + name + QStringLiteral(".app");
            result.applications.append(application);
        }
        const QList<Cask>& casks = result.index->casks();
        for (qsizetype position = 0; position < casks.size(); position += casks.size() / 40) {
            result.installedTokens.append(casks[position].name);
        }
        return result;
    }();
    return loaded;
}

const CaskLocations locations{QStringLiteral("/Applications"), QStringLiteral("/Users/bench")};

void perApplication(benchmark::State& state) {
    state.counters["per application"] = benchmark::Counter(
        static_cast<double>(workload().applications.size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The floor: reading every lowered token once for each application, which
// any matcher that may consider every cask has to do.
void catalogueWalkFloor(benchmark::State& state) {
    const Workload& work = workload();
    for (auto _ : state) {
        quint64 seen = 0;
        for (qsizetype application = 0; application < work.applications.size(); ++application) {
            for (const CaskIndex::LoweredToken& token : work.index->loweredTokens()) {
                seen += token.characterSet ^ static_cast<quint64>(token.text.size());
            }
            benchmark::DoNotOptimize(seen);
        }
    }
    perApplication(state);
}

void optionsAndInstalledCask(benchmark::State& state) {
    const Workload& work = workload();
    QTemporaryDir directory;
    SettingsStore settings(directory.path() + QStringLiteral("/settings.json"));
    Logger logger([](LogLevel, const QString&) {}, settings, directory.path());
    qsizetype withOptions = 0;
    for (auto _ : state) {
        withOptions = 0;
        for (const Application& application : work.applications) {
            const QList<Cask> options =
                findCaskOptions(application, *work.index, locations, logger);
            const auto installed =
                findInstalledCask(application, work.installedTokens, *work.index, locations);
            withOptions += options.isEmpty() ? 0 : 1;
            benchmark::DoNotOptimize(installed);
        }
    }
    state.counters["with options"] = static_cast<double>(withOptions);
    perApplication(state);
}

BENCHMARK(catalogueWalkFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(optionsAndInstalledCask)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    workload();
    benchmark::Initialize(&argc, argv);
    FloorReporter reporter([](const FloorReporter::Times& times) {
        if (!times.contains("optionsAndInstalledCask") || !times.contains("catalogueWalkFloor")) {
            return;
        }
        const double matching = times.at("optionsAndInstalledCask");
        std::printf(
            "optionsAndInstalledCask: %.1f us per application (goal under 500 us), "
            "%.2fx catalogueWalkFloor\n",
            matching * 1000.0 / static_cast<double>(workload().applications.size()),
            matching / times.at("catalogueWalkFloor"));
    });
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
