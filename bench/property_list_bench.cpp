// Reading property lists as bundles hold them. The floor is the general
// parser the reader replaced, on the Info.plist of every real bundle, XML
// and binary. Hostile files are set against the same floor by time per
// byte, and each one's peak memory above the baseline is printed first.
#include "binary_property_list_builder.h"
#include "floor_reporter.h"
#include "hostile_property_lists.h"
#include "platform/plain_file_reader.h"
#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"
#include "test_property_list.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

using namespace tarnel;

namespace {

constexpr qint64 sparseSize = qint64(2) << 30;

// The Info.plist of every real bundle: XML at 0, binary at 1.
const QList<QByteArray>& realInfoPlists(int form) {
    static const std::array<QList<QByteArray>, 2> forms = [] {
        QList<QByteArray> xml;
        QList<QByteArray> binary;
        const QDir fixtures(QStringLiteral(TARNEL_SHARED_DIR "/fixtures/bundles"));
        for (const QString& bundle : fixtures.entryList({QStringLiteral("*.app")}, QDir::Dirs)) {
            QFile file(fixtures.filePath(bundle + QStringLiteral("/Contents/Info.plist")));
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
                std::exit(1);
            }
            xml.append(file.readAll());
            binary.append(TestPropertyList::fromData(xml.back()).binary());
        }
        return std::array<QList<QByteArray>, 2>{xml, binary};
    }();
    return forms[form];
}

qint64 totalSize(const QList<QByteArray>& files) {
    qint64 total = 0;
    for (const QByteArray& file : files) {
        total += file.size();
    }
    return total;
}

// Whether the reader takes the bytes; either answer is a finished read.
bool reads(const QByteArray& data) {
    try {
        return !PropertyListDictionary::fromData(data).textEntries().isEmpty();
    } catch (const PropertyListError&) {
        return false;
    }
}

void realInfoPlistsRead(benchmark::State& state) {
    const QList<QByteArray>& files = realInfoPlists(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        for (const QByteArray& file : files) {
            if (!reads(file)) {
                state.SkipWithError("a real Info.plist was refused");
            }
        }
    }
    state.SetBytesProcessed(state.iterations() * totalSize(files));
}

void realInfoPlistsGeneralParserFloor(benchmark::State& state) {
    const QList<QByteArray>& files = realInfoPlists(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        for (const QByteArray& file : files) {
            plist_t node = nullptr;
            plist_from_memory(file.constData(), static_cast<uint32_t>(file.size()), &node);
            benchmark::DoNotOptimize(node);
            plist_free(node);
        }
    }
    state.SetBytesProcessed(state.iterations() * totalSize(files));
}

BENCHMARK(realInfoPlistsRead)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(realInfoPlistsGeneralParserFloor)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// An XML list filled to the size limit with `unit` between `head` and `tail`.
QByteArray filledXml(const QByteArray& head, const QByteArray& unit, const QByteArray& tail) {
    const QByteArray start =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + head;
    const QByteArray end = tail + "</plist>\n";
    const qsizetype room = PropertyListLimits::maximumSize - start.size() - end.size();
    return start + unit.repeated(room / unit.size()) + end;
}

// A binary list filled to the size limit with references to one text.
QByteArray filledBinary() {
    BinaryPropertyListBuilder builder;
    const int text = builder.ascii("shared");
    const QList<int> references(PropertyListLimits::maximumSize / 4, text);
    return builder.build(builder.dictionary({{text, builder.array(references)}}));
}

struct HostileCase {
    const char* name;
    bool isBinary;
    std::function<QByteArray()> make;
};

const QList<HostileCase>& hostileCases() {
    static const QList<HostileCase> cases{
        {"deepXml200000", false, [] { return deeplyNestedXml(200000); }},
        {"deepBinary300000", true, [] { return deeplyNestedBinary(300000); }},
        {"sharedReferences64", true, [] { return sharedReferenceBinary(64); }},
        {"entitiesInAString209715", false, [] { return entityHeavyString(209715); }},
        {"entitiesInAKey209715", false, [] { return entityHeavyKey(209715); }},
        {"longestText", false,
         [] { return filledXml("<dict><key>K</key><string>", "a", "</string></dict>"); }},
        {"longestEntityText", false,
         [] { return filledXml("<dict><key>K</key><string>", "&#x10FFFF;", "</string></dict>"); }},
        {"commentsToTheLimit", false, [] { return filledXml("<dict>", "<!---->", "</dict>"); }},
        {"tagsWithEightAttributes", false,
         [] {
             return filledXml("<dict><key>K</key><array>",
                              "<true a=\"\" b=\"\" c=\"\" d=\"\" e=\"\" f=\"\" g=\"\" h=\"\"/>",
                              "</array></dict>");
         }},
        {"oneTagOfManyAttributes", false,
         [] { return filledXml("<dict><key>K</key><string", " a=\"\"", "/></dict>"); }},
        {"referencesToTheLimit", true, filledBinary},
    };
    return cases;
}

void hostileRead(benchmark::State& state, const HostileCase& hostile) {
    const QByteArray data = hostile.make();
    for (auto _ : state) {
        benchmark::DoNotOptimize(reads(data));
    }
    state.SetBytesProcessed(state.iterations() * data.size());
    state.counters["bytes"] = static_cast<double>(data.size());
}

// A sparse Info.plist of two gibibytes, read from disk as a bundle's is.
void hostileSparseFileRead(benchmark::State& state) {
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Info.plist"));
    writeSparseBinary(path, sparseSize);
    for (auto _ : state) {
        const auto contents = readPlainFile(path, PropertyListLimits::maximumSize);
        const auto* bytes = std::get_if<QByteArray>(&contents);
        benchmark::DoNotOptimize(bytes && reads(*bytes));
    }
}

void registerHostileCases() {
    for (const HostileCase& hostile : hostileCases()) {
        benchmark::RegisterBenchmark((std::string("hostileRead/") + hostile.name).c_str(),
                                     hostileRead, hostile)
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::RegisterBenchmark("hostileRead/sparseFile2GiB", hostileSparseFileRead)
        ->Unit(benchmark::kMicrosecond);
}

// The most memory one read of the case takes above what the process held
// before it, measured in a child so that each case starts from the same
// baseline.
long peakKibibytesAbove(const HostileCase& hostile) {
    const QByteArray data = hostile.make();
    int channel[2];
    if (pipe(channel) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        rusage before{};
        getrusage(RUSAGE_SELF, &before);
        reads(data);
        rusage after{};
        getrusage(RUSAGE_SELF, &after);
        const long peak = after.ru_maxrss - before.ru_maxrss;
        _exit(write(channel[1], &peak, sizeof peak) == sizeof peak ? 0 : 1);
    }
    close(channel[1]);
    long peak = -1;
    if (read(channel[0], &peak, sizeof peak) != sizeof peak) {
        peak = -1;
    }
    close(channel[0]);
    waitpid(child, nullptr, 0);
    return peak;
}

void reportPeakMemory() {
    for (const HostileCase& hostile : hostileCases()) {
        std::printf("%-28s peak %6.1f MiB above the baseline (goal under 64)\n", hostile.name,
                    static_cast<double>(peakKibibytesAbove(hostile)) / 1024.0);
    }
}

double perByte(const FloorReporter::Times& times, const std::string& name, qint64 bytes) {
    return times.at(name) / static_cast<double>(bytes);
}

void summarise(const FloorReporter::Times& times) {
    const std::string forms[2] = {"0", "1"};
    for (int form = 0; form < 2; ++form) {
        const std::string read = "realInfoPlistsRead/" + forms[form];
        const std::string floor = "realInfoPlistsGeneralParserFloor/" + forms[form];
        if (times.contains(read) && times.contains(floor)) {
            std::printf("%s = %.2fx %s\n", read.c_str(), times.at(read) / times.at(floor),
                        floor.c_str());
        }
    }
    for (const HostileCase& hostile : hostileCases()) {
        const std::string name = std::string("hostileRead/") + hostile.name;
        const std::string floor =
            std::string("realInfoPlistsGeneralParserFloor/") + (hostile.isBinary ? "1" : "0");
        if (!times.contains(name) || !times.contains(floor)) {
            continue;
        }
        const qint64 bytes = hostile.make().size();
        std::printf("%s: %.1f ms, %.2fx the floor's time per byte (goal well under 1 s)\n",
                    name.c_str(), times.at(name) / 1e3,
                    perByte(times, name, bytes) /
                        perByte(times, floor, totalSize(realInfoPlists(hostile.isBinary))));
    }
    if (times.contains("hostileRead/sparseFile2GiB")) {
        std::printf("hostileRead/sparseFile2GiB: %.1f ms (goal well under 1 s)\n",
                    times.at("hostileRead/sparseFile2GiB") / 1e3);
    }
}

}  // namespace

int main(int argc, char** argv) {
    reportPeakMemory();
    registerHostileCases();
    benchmark::Initialize(&argc, argv);
    FloorReporter reporter(summarise);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
