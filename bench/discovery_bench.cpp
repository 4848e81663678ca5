// A whole discovery run, from the call to the finished list, over 300 bundles
// and the shared catalogue on loopback HTTPS, against its floor from the same
// run: the two downloads of the catalogue that a run makes (with and without
// deprecated casks), side by side from the same server, one plain DOM parse of
// its bytes, and one read of every Info.plist.

#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_clock.h"
#include "core/system_layout.h"
#include "discovery/discovery_service.h"
#include "discovery/exclusion_service.h"
#include "homebrew/askpass_service.h"
#include "homebrew/brew_service.h"
#include "homebrew/cask_service.h"
#include "loopback_certificates.h"
#include "loopback_https_server.h"
#include "platform/https_client.h"
#include "updates/mas_service.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <simdjson.h>
#include <sys/resource.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include <qcoro/qcoronetworkreply.h>
#include <qcoro/qcorotask.h>

using namespace tarnel;

namespace {

constexpr int bundleCount = 300;

QByteArray readAll(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        std::exit(1);
    }
    return file.readAll();
}

void writeAll(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        std::exit(1);
    }
}

// The seconds that each stage's log line gives, summed over the runs, and
// the downloads of the catalogue, which the floor makes two of.
struct StageTimes {
    QMutex mutex;
    std::map<std::string, double> seconds;
    int runs = 0;
    int catalogueDownloads = 0;

    void take(const QString& line) {
        if (line == QStringLiteral("[INFO] Fetching casks from Homebrew API")) {
            const QMutexLocker lock(&mutex);
            ++catalogueDownloads;
        }
        static const QRegularExpression timing(
            QStringLiteral(R"(^\[INFO\] (Application discovery complete|Loaded exclusions|)"
                           R"(Fetched|Completed cask and MAS discovery|Discovery complete!))"
                           R"(.* in (\d+\.\d\d)s)"));
        const QRegularExpressionMatch match = timing.match(line);
        if (match.hasMatch()) {
            const QMutexLocker lock(&mutex);
            seconds[match.captured(1).toStdString()] += match.captured(2).toDouble();
        }
    }
};

// The applications folder, fake-brew with a few installed casks and the
// catalogue server, made once for every benchmark.
struct Machine {
    Machine()
        : certificates(LoopbackCertificates::create(root.filePath(QStringLiteral("tls")))),
          server(certificates) {
        catalogue = readAll(QStringLiteral(TARNEL_SHARED_DIR "/data/catalogue.json"));
        server.setRoute(QStringLiteral("/api/cask.json"), ServedRoute::bytes(catalogue));
        if (!server.start()) {
            std::fprintf(stderr, "the loopback server did not start\n");
            std::exit(1);
        }
        layout.applicationsDirectory = root.filePath(QStringLiteral("Applications"));
        layout.homeDirectory = root.filePath(QStringLiteral("home"));
        layout.temporaryDirectory = root.filePath(QStringLiteral("tmp"));
        layout.desktopDirectory = root.filePath(QStringLiteral("Desktop"));
        layout.catalogueUrl = server.baseUrl();
        layout.catalogueUrl.setPath(QStringLiteral("/api/cask.json"));
        layout.extraTrustedCertificates = certificates.authorityCertificate;
        for (const QString& folder :
             {layout.homeDirectory, layout.temporaryDirectory, layout.applicationsDirectory}) {
            QDir().mkpath(folder);
        }
        addBundles();
        addBrew();
    }

    // Every name gets the Info.plist of one of the real bundles in turn.
    void addBundles() {
        const QString fixtures = QStringLiteral(TARNEL_SHARED_DIR "/fixtures/bundles");
        QList<QByteArray> plists;
        for (const QString& fixture :
             QDir(fixtures).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
            plists.append(
                readAll(fixtures + u'/' + fixture + QStringLiteral("/Contents/Info.plist")));
        }
        const QStringList names =
            QString::fromUtf8(readAll(QStringLiteral(TARNEL_SHARED_DIR "/data/app-names.txt")))
                .split(u'\n', Qt::SkipEmptyParts);
        for (int index = 0; index < bundleCount; ++index) {
            const QString infoPlist = layout.applicationsDirectory + u'/' + names.at(index) +
                                      QStringLiteral(".app/Contents/Info.plist");
            writeAll(infoPlist, plists.at(index % plists.size()));
            infoPlists.append(infoPlist);
        }
    }

    void addBrew() {
        const QString brew = root.filePath(QStringLiteral("bin/brew"));
        const QString state = root.filePath(QStringLiteral("brew-state"));
        QDir().mkpath(root.filePath(QStringLiteral("bin")));
        QFile::link(QStringLiteral(TARNEL_BIN_DIR "/fake-brew"), brew);
        writeAll(brew + QStringLiteral(".state"), QFile::encodeName(state));
        writeAll(state + QStringLiteral("/installed.json"),
                 R"({"stats": "2.11.20", "zoom": "6.0", "telegram": "11.0", "rectangle": "0.85",
                     "maccy": "2.0.0", "iina": "1.3.5", "nordpass": "5.0", "publii": "0.46"})");
        layout.brewCandidates = {brew};
        layout.masCandidates = {root.filePath(QStringLiteral("bin/mas"))};
    }

    QTemporaryDir root;
    LoopbackCertificates certificates;
    LoopbackHttpsServer server;
    QByteArray catalogue;
    SystemLayout layout;
    QStringList infoPlists;
    StageTimes stages;
};

Machine& machine() {
    static Machine instance;
    return instance;
}

// Every service of one run, made afresh so that no cache carries over.
struct Services {
    explicit Services(Machine& machine)
        : settings(machine.root.filePath(QStringLiteral("settings.json"))),
          logger([&machine](LogLevel, const QString& line) { machine.stages.take(line); }, settings,
                 machine.layout.desktopDirectory),
          askpass(logger, machine.layout),
          httpsClient(machine.layout),
          brew(logger, askpass, httpsClient, machine.layout, clock),
          casks(logger, brew, clock, CaskLocations::of(machine.layout)),
          store(logger, machine.layout, clock),
          exclusions(logger, settings),
          discovery(logger, exclusions, casks, store, settings, machine.layout) {}

    SettingsStore settings;
    Logger logger;
    SystemClock clock;
    AskpassService askpass;
    HttpsClient httpsClient;
    BrewService brew;
    CaskService casks;
    MASService store;
    ExclusionService exclusions;
    DiscoveryService discovery;
};

void discovery(benchmark::State& state) {
    Machine& setup = machine();
    qsizetype found = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto services = std::make_unique<Services>(setup);
        state.ResumeTiming();
        const QList<Application> applications = QCoro::waitFor(
            services->discovery.discoverApplications([](double) -> QCoro::Task<> { co_return; }));
        found = applications.size();
        state.PauseTiming();
        services.reset();
        ++setup.stages.runs;
        state.ResumeTiming();
    }
    state.counters["applications"] = static_cast<double>(found);
}

QCoro::Task<QByteArray> download(QNetworkAccessManager& network, const QNetworkRequest& request) {
    const std::unique_ptr<QNetworkReply> reply(network.get(request));
    co_await reply.get();
    co_return reply->readAll();
}

// A bare network client with the trust of the service's, made outside the
// timing as the service's is made before a run: fresh connections for every
// pair of downloads, which run at once as a run's two catalogue fetches do.
// Both requests are out before the first wait, since a task runs up to its
// first suspension when it is called.
void catalogueDownloadFloor(benchmark::State& state) {
    Machine& setup = machine();
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(QSslConfiguration::systemCaCertificates() +
                          QSslCertificate::fromPath(setup.certificates.authorityCertificate));
    QNetworkRequest request(setup.layout.catalogueUrl);
    request.setSslConfiguration(tls);
    for (auto _ : state) {
        state.PauseTiming();
        auto network = std::make_unique<QNetworkAccessManager>();
        state.ResumeTiming();
        auto first = download(*network, request);
        auto second = download(*network, request);
        if (QCoro::waitFor(std::move(first)) != setup.catalogue ||
            QCoro::waitFor(std::move(second)) != setup.catalogue) {
            state.SkipWithError("a download differs from the catalogue");
        }
        state.PauseTiming();
        network.reset();
        state.ResumeTiming();
    }
}

void catalogueParseFloor(benchmark::State& state) {
    const QByteArray& bytes = machine().catalogue;
    for (auto _ : state) {
        const simdjson::padded_string padded(bytes.constData(), static_cast<size_t>(bytes.size()));
        simdjson::dom::parser parser;
        simdjson::dom::element root;
        if (parser.parse(padded).get(root) != simdjson::SUCCESS) {
            state.SkipWithError("the catalogue does not parse");
        }
        benchmark::DoNotOptimize(root);
    }
}

void infoPlistReadFloor(benchmark::State& state) {
    const QStringList& paths = machine().infoPlists;
    for (auto _ : state) {
        for (const QString& path : paths) {
            const QByteArray bytes = readAll(path);
            plist_t plist = nullptr;
            plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &plist);
            benchmark::DoNotOptimize(plist);
            plist_free(plist);
        }
    }
}

// The usual table, then the run set against its floor in wall time, the
// share of each stage and the peak resident memory.
class DiscoveryReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                wallTimes[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        const auto time = [this](const char* name) {
            const auto found = wallTimes.find(name);
            return found == wallTimes.end() ? 0.0 : found->second;
        };
        const double run = time("discovery");
        const double floor = time("catalogueDownloadFloor") + time("catalogueParseFloor") +
                             time("infoPlistReadFloor");
        if (run > 0.0 && floor > 0.0) {
            std::printf("discovery: %.1f ms wall, floor %.1f ms, %.2fx (goal at most 1.5x)\n", run,
                        floor, run / floor);
        }
        const StageTimes& stages = machine().stages;
        const auto total = stages.seconds.find("Discovery complete!");
        if (stages.runs > 0 && total != stages.seconds.end() && total->second > 0.0) {
            for (const auto& [stage, seconds] : stages.seconds) {
                std::printf("  %-40s %7.1f ms  %5.1f%%\n", stage.c_str(),
                            seconds * 1000.0 / stages.runs, 100.0 * seconds / total->second);
            }
        }
        if (stages.runs > 0) {
            std::printf("catalogue downloads per run: %.1f\n",
                        static_cast<double>(stages.catalogueDownloads) / stages.runs);
        }
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        std::printf("peak resident memory: %.1f MiB\n",
                    static_cast<double>(usage.ru_maxrss) / 1024.0);
    }

private:
    std::map<std::string, double> wallTimes;
};

}  // namespace

BENCHMARK(discovery)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(5.0);
BENCHMARK(catalogueDownloadFloor)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);
BENCHMARK(catalogueParseFloor)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(infoPlistReadFloor)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    machine();
    benchmark::Initialize(&argc, argv);
    DiscoveryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
