// A whole discovery run, from the call to the finished list, over 300 bundles
// and the shared catalogue on loopback HTTPS, against its floor in the same
// round: the two downloads of the catalogue that a run makes (with and without
// deprecated casks), side by side from the same server, a plain DOM parse of
// each, and one read of every Info.plist.

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
#include "round_timer.h"
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

    void clear() {
        const QMutexLocker lock(&mutex);
        seconds.clear();
        runs = 0;
        catalogueDownloads = 0;
    }

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

QCoro::Task<QByteArray> download(QNetworkAccessManager& network, const QNetworkRequest& request) {
    const std::unique_ptr<QNetworkReply> reply(network.get(request));
    co_await reply.get();
    co_return reply->readAll();
}

bool parsesAsJson(const QByteArray& bytes) {
    const simdjson::padded_string padded(bytes.constData(), static_cast<size_t>(bytes.size()));
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    return parser.parse(padded).get(root) == simdjson::SUCCESS;
}

void readEveryInfoPlist(const QStringList& paths) {
    for (const QString& path : paths) {
        const QByteArray bytes = readAll(path);
        plist_t plist = nullptr;
        plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &plist);
        benchmark::DoNotOptimize(plist);
        plist_free(plist);
    }
}

// The floor: the two downloads of the catalogue that a run makes (with and
// without deprecated casks), side by side, a plain DOM parse of each, and
// one read of every Info.plist. Both requests are out before the first
// wait, since a task runs up to its first suspension when it is called.
// Gives whether every answer was right.
bool floorRound(const Machine& setup, QNetworkAccessManager& network,
                const QNetworkRequest& request) {
    auto first = download(network, request);
    auto second = download(network, request);
    const QByteArray firstBytes = QCoro::waitFor(std::move(first));
    const QByteArray secondBytes = QCoro::waitFor(std::move(second));
    const bool parsed = parsesAsJson(firstBytes) && parsesAsJson(secondBytes);
    readEveryInfoPlist(setup.infoPlists);
    return parsed && firstBytes == setup.catalogue && secondBytes == setup.catalogue;
}

RoundTimes& floorTimes() {
    static RoundTimes times;
    return times;
}

RoundTimes& runTimes() {
    static RoundTimes times;
    return times;
}

// Each round runs the floor, then a discovery. The floor's network client
// has the trust of the service's and, like the service's, is made outside
// the timing with fresh connections for every round; so are the services,
// so that no cache carries over. A change in the machine's load thus falls
// on both alike.
void discovery(benchmark::State& state) {
    Machine& setup = machine();
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setCaCertificates(QSslConfiguration::systemCaCertificates() +
                          QSslCertificate::fromPath(setup.certificates.authorityCertificate));
    QNetworkRequest request(setup.layout.catalogueUrl);
    request.setSslConfiguration(tls);
    qsizetype found = 0;
    // The summary tells of the last call alone, whose rounds the table shows.
    setup.stages.clear();
    floorTimes() = {};
    runTimes() = {};
    for (auto _ : state) {
        auto network = std::make_unique<QNetworkAccessManager>();
        const RoundTimer floorTimer;
        const bool isFloorRight = floorRound(setup, *network, request);
        floorTimes().add(floorTimer);
        network.reset();

        auto services = std::make_unique<Services>(setup);
        const RoundTimer runTimer;
        const QList<Application> applications = QCoro::waitFor(
            services->discovery.discoverApplications([](double) -> QCoro::Task<> { co_return; }));
        runTimes().add(runTimer);
        state.SetIterationTime(runTimer.wallSeconds());
        found = applications.size();
        services.reset();
        ++setup.stages.runs;

        if (!isFloorRight) {
            state.SkipWithError("a download differs from the catalogue");
            return;
        }
    }
    state.counters["applications"] = static_cast<double>(found);
    state.counters["floor_ms"] = floorTimes().wall * 1000.0 / setup.stages.runs;
    state.counters["ratio"] = runTimes().wall / floorTimes().wall;
    state.counters["cpu_ratio"] = runTimes().processor / floorTimes().processor;
}

// The run set against its floor in wall time, the share of each stage, the
// downloads a run made and the peak resident memory.
void printSummary() {
    const StageTimes& stages = machine().stages;
    if (stages.runs == 0 || floorTimes().wall <= 0.0) {
        return;
    }
    const double runs = stages.runs;
    std::printf(
        "discovery: %.1f ms wall, floor %.1f ms, %.2fx (goal at most 1.5x); "
        "processor %.2fx\n",
        runTimes().wall * 1000.0 / runs, floorTimes().wall * 1000.0 / runs,
        runTimes().wall / floorTimes().wall, runTimes().processor / floorTimes().processor);
    const auto total = stages.seconds.find("Discovery complete!");
    if (total != stages.seconds.end() && total->second > 0.0) {
        for (const auto& [stage, seconds] : stages.seconds) {
            std::printf("  %-40s %7.1f ms  %5.1f%%\n", stage.c_str(), seconds * 1000.0 / runs,
                        100.0 * seconds / total->second);
        }
    }
    std::printf("catalogue downloads per run: %.1f\n", stages.catalogueDownloads / runs);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("peak resident memory: %.1f MiB\n", static_cast<double>(usage.ru_maxrss) / 1024.0);
}

}  // namespace

// The time of a round is that of the discovery; `ratio` sets it against the
// floor in wall time (goal: at most 1.5), `cpu_ratio` in the processor time of
// the process and its tools.
BENCHMARK(discovery)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(5.0);

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    machine();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printSummary();
    return 0;
}
