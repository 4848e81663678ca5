// Reading `mas outdated`: hostile lines of growing length against the
// recorded output, per character, measured in the same run. A cost that grew
// with the length of a line would show as a ratio that grows with it.
#include "floor_reporter.h"
#include "updates/mas_output_parser.h"

#include <QFile>
#include <QString>
#include <QStringList>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace tarnel;

namespace {

// The recorded console block without its source line and command, repeated
// to the size of a long answer.
const QString& ordinaryOutput() {
    static const QString output = [] {
        QFile file(QStringLiteral(TARNEL_SHARED_DIR "/fixtures/commands/mas-outdated-readme.txt"));
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
            std::exit(1);
        }
        const QString recorded =
            QString::fromUtf8(file.readAll()).split(u'\n').mid(2).join(u'\n') + u'\n';
        return recorded.repeated(1000);
    }();
    return output;
}

// One parenthesis full of arrows and a stray character after it: dropped.
QString arrowsThenStray(qsizetype arrows) {
    return QStringLiteral("1 (") + QStringLiteral(" -> ").repeated(arrows) + QStringLiteral(")x");
}

// A name full of arrows before real versions: read.
QString arrowsInTheName(qsizetype arrows) {
    return QStringLiteral("1 (") + QStringLiteral(" -> ").repeated(arrows) +
           QStringLiteral(") (1.0 -> 2.0)");
}

void parse(benchmark::State& state, const QString& output) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(parseMASOutdated(output));
    }
    state.SetItemsProcessed(state.iterations() * output.size());
}

void ordinary(benchmark::State& state) {
    parse(state, ordinaryOutput());
}

void strayAfterArrows(benchmark::State& state) {
    parse(state, arrowsThenStray(state.range(0)));
}

void arrowsBeforeVersions(benchmark::State& state) {
    parse(state, arrowsInTheName(state.range(0)));
}

BENCHMARK(ordinary);
BENCHMARK(strayAfterArrows)->Arg(16384)->Arg(65536)->Unit(benchmark::kMicrosecond);
BENCHMARK(arrowsBeforeVersions)->Arg(16384)->Arg(65536)->Unit(benchmark::kMicrosecond);

// Nanoseconds per character of one benchmark, from its time in `unit`.
double perCharacter(const FloorReporter::Times& times, const std::string& name,
                    qsizetype characters, double nanosecondsPerUnit) {
    return times.at(name) * nanosecondsPerUnit / static_cast<double>(characters);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    FloorReporter reporter([](const FloorReporter::Times& times) {
        if (!times.contains("ordinary")) {
            return;
        }
        const double floor = perCharacter(times, "ordinary", ordinaryOutput().size(), 1.0);
        std::printf("ordinary: %.2f ns per character\n", floor);
        for (const qsizetype arrows : {16384, 65536}) {
            const std::string size = std::to_string(arrows);
            const auto report = [&](const std::string& name, qsizetype characters) {
                if (times.contains(name)) {
                    const double cost = perCharacter(times, name, characters, 1000.0);
                    std::printf("%s: %.2f ns per character, %.2fx ordinary\n", name.c_str(), cost,
                                cost / floor);
                }
            };
            report("strayAfterArrows/" + size, arrowsThenStray(arrows).size());
            report("arrowsBeforeVersions/" + size, arrowsInTheName(arrows).size());
        }
    });
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
