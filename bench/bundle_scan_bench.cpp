// Scanning and reading 1,000 bundles the way the program does (worker pool,
// parallel reads) against the floor: the same Info.plist files read and
// parsed in one plain single-threaded loop.
#include "core/logger.h"
#include "core/settings_store.h"
#include "discovery/applications_folder_reader.h"
#include "platform/plain_file_reader.h"
#include "platform/property_list_dictionary.h"
#include "platform/property_list_limits.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "event_loop_main.h"

#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <qcoro/qcorotask.h>

#include <stdexcept>

using namespace tarnel;

namespace {

constexpr int bundleCount = 1000;

// A typical user's languages, fixed so that runs on different machines compare.
const QStringList preferredLanguages{QStringLiteral("en-US"), QStringLiteral("en")};

// The floor reads files the way the program does, so that only the parse and
// the read itself count.
QByteArray readFile(const QString& path) {
    auto contents = readPlainFile(path, PropertyListLimits::maximumSize);
    if (!std::holds_alternative<QByteArray>(contents)) {
        throw std::runtime_error("cannot read a bench file");
    }
    return std::get<QByteArray>(std::move(contents));
}

QByteArray binaryForm(const QByteArray& xml) {
    plist_t node = nullptr;
    plist_from_memory(xml.constData(), static_cast<uint32_t>(xml.size()), &node);
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    QByteArray binary(bytes, length);
    plist_to_bin_free(bytes);
    plist_free(node);
    return binary;
}

// The bundles, made once from the real fixtures: even ones with an XML
// Info.plist, odd ones with its binary form.
class GeneratedBundles {
public:
    GeneratedBundles() {
        const QDir fixtures(QStringLiteral(TARNEL_SHARED_DIR "/fixtures/bundles"));
        QList<QByteArray> forms[2];
        for (const QString& bundle : fixtures.entryList({QStringLiteral("*.app")}, QDir::Dirs)) {
            const QByteArray xml =
                readFile(fixtures.filePath(bundle + QStringLiteral("/Contents/Info.plist")));
            forms[0].append(xml);
            forms[1].append(binaryForm(xml));
        }
        for (int index = 0; index < bundleCount; ++index) {
            const QString contents =
                root() + QStringLiteral("/Bundle %1.app/Contents").arg(index, 4, 10, QChar(u'0'));
            QDir().mkpath(contents);
            QFile file(contents + QStringLiteral("/Info.plist"));
            const QList<QByteArray>& form = forms[index % 2];
            if (!file.open(QIODevice::WriteOnly) ||
                file.write(form[(index / 2) % form.size()]) < 0) {
                throw std::runtime_error("cannot write a bench bundle");
            }
            infoPlists.append(file.fileName());
        }
    }

    QString root() const { return folder.filePath(QStringLiteral("Applications")); }
    QString scratch() const { return folder.path(); }

    QStringList infoPlists;

private:
    QTemporaryDir folder;
};

const GeneratedBundles& bundles() {
    static const GeneratedBundles generated;
    return generated;
}

void ScanAndReadOnTheWorkerPool(benchmark::State& state) {
    const GeneratedBundles& generated = bundles();
    SettingsStore settings(generated.scratch() + QStringLiteral("/settings.json"));
    Logger logger(LogSink(), settings, generated.scratch());
    for (auto _ : state) {
        const QList<Application> applications =
            QCoro::waitFor(readApplicationsFolder(generated.root(), preferredLanguages, logger));
        if (applications.size() != bundleCount) {
            state.SkipWithError("not every bundle was read");
        }
    }
}
BENCHMARK(ScanAndReadOnTheWorkerPool)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

void PlainSingleThreadedParseFloor(benchmark::State& state) {
    const GeneratedBundles& generated = bundles();
    for (auto _ : state) {
        int identified = 0;
        for (const QString& path : generated.infoPlists) {
            const auto plist = PropertyListDictionary::fromData(readFile(path));
            identified += plist.contains("CFBundleIdentifier") ? 1 : 0;
        }
        if (identified != bundleCount) {
            state.SkipWithError("not every file was parsed");
        }
    }
}
BENCHMARK(PlainSingleThreadedParseFloor)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    return runBenchmarksWithEventLoop(argc, argv);
}
