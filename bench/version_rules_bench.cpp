#include "core/records/application.h"
#include "floor_reporter.h"
#include "versions/version_rules.h"

#include <benchmark/benchmark.h>

#include <QList>
#include <QString>

#include <cstdio>
#include <string>
#include <utility>

using namespace tarnel;

namespace {

using VersionPair = std::pair<QString, QString>;

template <std::size_t count>
QList<VersionPair> toPairs(const char* const (&texts)[count][2]) {
    QList<VersionPair> pairs;
    for (const auto& [first, second] : texts) {
        pairs.append({QString::fromUtf8(first), QString::fromUtf8(second)});
    }
    return pairs;
}

// Candidate and baseline texts as an update pass meets them: appcast
// composites, pre-releases, cask versions with commas and notes, and texts
// that hold no number at all.
const QList<VersionPair>& versionPairs() {
    static const QList<VersionPair> pairs = [] {
        const char* const texts[][2] = {
            {"2.3.1.4512", "2.3.0.4498"},
            {"1.10", "1.9"},
            {"1.2.0", "1.2"},
            {"2.0", "2.0-rc1"},
            {"2.1-rc1", "2.1"},
            {"1.2.3-beta.2", "1.2.3-beta.1"},
            {"1.2.3-beta2", "1.2.3-beta10"},
            {"1.2.3-rc", "1.2.3-beta.9"},
            {"5.0.0-alpha3.812", "4.9.7.799"},
            {"125.0.6422.142", "125.0.6422.113"},
            {"1.2.3,4567", "1.2.3,4500"},
            {"4.31.0,192315", "4.30.1,190244"},
            {"2.0 (123)", "1.9"},
            {"3.4.1 (20240611)", "3.4.1 (20240502)"},
            {"1.2.3.beta", "1.2.3"},
            {"1.2b3", "1.2"},
            {"1.2.3", "1.2.3.0"},
            {"latest", "1.0"},
            {"1.0", "latest"},
            {"2024.06.1", "2024.05.3"},
            {"16.0.1", "16.0.1"},
            {" 7.4.2\n", "7.4.1"},
            {"0.9.8.upgrading", "0.9.7"},
            {"12.1.2 (12B1024)", "12.1 (12A7403)"},
        };
        return toPairs(texts);
    }();
    return pairs;
}

// Short versions and build numbers as bundles and appcast items carry them.
const QList<VersionPair>& shortVersionsAndBuilds() {
    static const QList<VersionPair> pairs = [] {
        const char* const texts[][2] = {
            {"1.2", "345"},    {"1.20", "20"},        {"2.0 (123)", "123"}, {"5.4.1", ""},
            {"3.1", "3100"},   {"14.2", "14.2"},      {"1.0b7", "1007"},    {"2024.1", "24.1.0.7"},
            {"0.9.12", "912"}, {"7.4.2", "7.4.2.31"},
        };
        return toPairs(texts);
    }();
    return pairs;
}

const QList<Application>& applications() {
    static const QList<Application> result = [] {
        QList<Application> list;
        for (const char* shortVersion :
             {"2.1 (456)", "(456)", "Unknown", "", "14.2.1", "3.4.1 (20240611)", "1.0 (a) beta (b)",
              "125.0.6422.142"}) {
            Application application;
            application.shortVersion = QString::fromUtf8(shortVersion);
            list.append(application);
        }
        return list;
    }();
    return result;
}

// Runs `call` once per iteration over the pairs in turn, and reports calls per second.
template <typename Call>
void overPairs(benchmark::State& state, const QList<VersionPair>& pairs, Call call) {
    qsizetype index = 0;
    for (auto _ : state) {
        const VersionPair& pair = pairs[index];
        benchmark::DoNotOptimize(call(pair.first, pair.second));
        index = (index + 1) % pairs.size();
    }
    state.SetItemsProcessed(state.iterations());
}

void isVersionNewerCalls(benchmark::State& state) {
    overPairs(state, versionPairs(), isVersionNewer);
}

void isBrewVersionNewerCalls(benchmark::State& state) {
    overPairs(state, versionPairs(), isBrewVersionNewer);
}

void isDisplayVersionNewerCalls(benchmark::State& state) {
    overPairs(state, versionPairs(), isDisplayVersionNewer);
}

void compositeVersionCalls(benchmark::State& state) {
    overPairs(state, shortVersionsAndBuilds(), compositeVersion);
}

void installedDisplayVersionCalls(benchmark::State& state) {
    const QList<Application>& list = applications();
    qsizetype index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(installedDisplayVersion(list[index]));
        index = (index + 1) % list.size();
    }
    state.SetItemsProcessed(state.iterations());
}

void installedVersionCalledNewerCalls(benchmark::State& state) {
    overPairs(state, versionPairs(), isInstalledVersionCalledNewer);
}

// Two texts that differ only in their last character, after a run that
// makes the normaliser reorder: marks in alternating classes, or characters
// that each decompose into two such marks.
VersionPair hostilePair(const QString& unit, qsizetype count) {
    const QString run = u'a' + unit.repeated(count);
    return {run + u'1', run + u'0'};
}

VersionPair alternatingMarks(qsizetype count) {
    return hostilePair(QString::fromUtf16(u"\u0301\u0316"), count);
}

VersionPair decomposingCharacters(qsizetype count) {
    return hostilePair(QString::fromUtf16(u"\u0F73"), count);
}

void alternatingMarksCall(benchmark::State& state) {
    overPairs(state, {alternatingMarks(state.range(0))}, isInstalledVersionCalledNewer);
}

void decomposingCharactersCall(benchmark::State& state) {
    overPairs(state, {decomposingCharacters(state.range(0))}, isInstalledVersionCalledNewer);
}

qsizetype charactersOf(const QList<VersionPair>& pairs) {
    qsizetype characters = 0;
    for (const auto& [candidate, baseline] : pairs) {
        characters += candidate.size() + baseline.size();
    }
    return characters;
}

// Rule E's cost per character on hostile texts of two lengths, set against
// its cost on ordinary versions: a cost that grew with the length of a text
// would show as a ratio that grows with it.
void summariseLongTexts(const FloorReporter::Times& times) {
    if (!times.contains("installedVersionCalledNewerCalls")) {
        return;
    }
    const QList<VersionPair>& ordinary = versionPairs();
    const double floor = times.at("installedVersionCalledNewerCalls") *
                         static_cast<double>(ordinary.size()) /
                         static_cast<double>(charactersOf(ordinary));
    std::printf("ordinary versions: %.2f ns per character\n", floor);
    const auto report = [&](const std::string& name, const VersionPair& pair) {
        if (times.contains(name)) {
            const double cost = times.at(name) * 1e6 / static_cast<double>(charactersOf({pair}));
            std::printf("%s: %.2f ns per character, %.1fx ordinary\n", name.c_str(), cost,
                        cost / floor);
        }
    };
    for (const qsizetype count : {32768, 131072}) {
        const std::string size = std::to_string(count);
        report("alternatingMarksCall/" + size, alternatingMarks(count));
        report("decomposingCharactersCall/" + size, decomposingCharacters(count));
    }
}

}  // namespace

BENCHMARK(isVersionNewerCalls);
BENCHMARK(isBrewVersionNewerCalls);
BENCHMARK(isDisplayVersionNewerCalls);
BENCHMARK(compositeVersionCalls);
BENCHMARK(installedDisplayVersionCalls);
BENCHMARK(installedVersionCalledNewerCalls);
BENCHMARK(alternatingMarksCall)->Arg(32768)->Arg(131072)->Unit(benchmark::kMillisecond);
BENCHMARK(decomposingCharactersCall)->Arg(32768)->Arg(131072)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    FloorReporter reporter(summariseLongTexts);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
