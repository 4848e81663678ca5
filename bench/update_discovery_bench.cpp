// The comprehensive update discovery of 300 applications, from the call to
// the three lists: 200 managed by casks, which `brew outdated` reports (one in
// three outdated), 60 with their own signed feeds on loopback HTTPS (three in
// four behind) and 40 from the store (one in two behind), with fake-brew and
// fake-mas answering at once and the store enabled. Its floor is the same work
// done by plain calls in one straight sequence: one `brew outdated --cask
// --greedy --json` run and read, plain GETs of the 60 feeds one at a time
// through the same HTTPS client, and one `mas outdated` run and read. Each
// round runs the floor, the discovery, and then each source's check alone for
// its share, each on services of its own made outside the timing, so that no
// cache carries over and a change in the machine's load falls on all alike.
// Wall time, since the sources wait on processes and on the server's threads.

#include "bundle_version.h"
#include "discovery/application_reader.h"
#include "feed_sandbox.h"
#include "platform/https_client.h"
#include "round_timer.h"
#include "shell/dependency_container.h"
#include "updates/brew_outdated_report.h"
#include "updates/mas_output_parser.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdio>
#include <memory>

#include <qcoro/qcorotask.h>

using namespace tarnel;

namespace {

constexpr int caskCount = 200;
constexpr int feedCount = 60;
constexpr int storeCount = 40;
// As the first discovery of a run asks. With it, the status 1 of a `brew
// outdated` that found something runs the command once more, with the
// askpass helper; the floor runs it once.
constexpr bool hasAdminPermission = true;

void writeAll(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        failSetup("cannot write a file of the sandbox");
    }
}

void writeJson(const QString& path, const QJsonDocument& document) {
    writeAll(path, document.toJson(QJsonDocument::Compact));
}

double peakResidentMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// The bundles, the feeds on a loopback server, fake-brew and fake-mas with
// their states, and the applications as discovery hands them over, made once.
struct Machine {
    Machine() {
        SystemLayout& layout = sandbox.layout;
        layout.brewCandidates = {sandbox.root.filePath(QStringLiteral("bin/brew"))};
        layout.masCandidates = {sandbox.root.filePath(QStringLiteral("bin/mas"))};
        QDir().mkpath(sandbox.root.filePath(QStringLiteral("bin")));
        sandbox.settings.setBool(QStringLiteral("enableMASSupport"), true);
        addApplications();
        installTool(QStringLiteral("fake-brew"), layout.brewCandidates.first(),
                    QStringLiteral("brew-state"));
        installTool(QStringLiteral("fake-mas"), layout.masCandidates.first(),
                    QStringLiteral("mas-state"));
        writeJson(sandbox.root.filePath(QStringLiteral("brew-state/casks.json")),
                  QJsonDocument(casks));
        writeJson(sandbox.root.filePath(QStringLiteral("brew-state/installed.json")),
                  QJsonDocument(installedCasks));
        writeJson(sandbox.root.filePath(QStringLiteral("mas-state/state.json")),
                  QJsonDocument(QJsonObject{{QStringLiteral("installed"), storeInstalled},
                                            {QStringLiteral("updates"), storeUpdates}}));
    }

    // The names of the shared data, then each again as a second copy, as
    // in "Foo 2.app", past the names that discovery takes for helper tools.
    void addApplications() {
        const QStringList names = applicationNames();
        QStringList candidates = names;
        for (const QString& name : names) {
            candidates.append(name + QStringLiteral(" 2"));
        }
        qsizetype next = 0;
        const auto add = [&](int count, const auto& addOne) {
            for (int added = 0; added < count; ++next) {
                if (next == candidates.size()) {
                    failSetup("too few application names");
                }
                if (auto application = addOne(candidates.at(next), added)) {
                    applications.append(std::move(*application));
                    ++added;
                }
            }
        };
        add(feedCount, [this](const QString& name, int) { return sandbox.publish(name); });
        add(caskCount,
            [this](const QString& name, int index) { return addCaskApplication(name, index); });
        add(storeCount,
            [this](const QString& name, int index) { return addStoreApplication(name, index); });
    }

    // A bundle with an Info.plist of its identity and versions alone: no
    // feed, so that the feed check passes it over without asking anyone.
    std::optional<Application> readBundle(const QString& name, const QString& identifier,
                                          const QString& version) {
        const QString bundle =
            sandbox.layout.applicationsDirectory + u'/' + name + QStringLiteral(".app");
        if (!writeBundleVersion(bundle, {version, version}) ||
            !writeInfoPlistTexts(bundle, {{QStringLiteral("CFBundleIdentifier"), identifier},
                                          {QStringLiteral("CFBundleName"), name}})) {
            failSetup("cannot write a bundle");
        }
        auto application =
            createApplication(bundle, sandbox.layout.preferredLanguages, sandbox.logger);
        if (!application) {
            QDir(bundle).removeRecursively();
        } else if (application->sparkleInfo) {
            failSetup("a bundle without a feed declares one");
        }
        return application;
    }

    // Adopted into a cask of its own; one in three is behind its cask.
    std::optional<Application> addCaskApplication(const QString& name, int index) {
        const QString token = slugOf(name, index);
        const QString installed = QStringLiteral("1.%1.0").arg(index);
        const QString current = index % 3 == 0 ? QStringLiteral("1.%1.1").arg(index) : installed;
        auto application = readBundle(name, QStringLiteral("com.cask.") + token, installed);
        if (!application) {
            return std::nullopt;
        }
        Cask cask;
        cask.name = token;
        cask.version = current;
        cask.rawVersion = current;
        application->adoptedCask = cask;
        application->alreadyAdopted = true;
        casks.append(
            QJsonObject{{QStringLiteral("token"), token},
                        {QStringLiteral("version"), current},
                        {QStringLiteral("name"), QJsonArray{name}},
                        {QStringLiteral("artifacts"),
                         QJsonArray{QJsonObject{{QStringLiteral("app"),
                                                 QJsonArray{name + QStringLiteral(".app")}}}}}});
        installedCasks.insert(token, installed);
        expectedBrewUpdates += index % 3 == 0 ? 1 : 0;
        return application;
    }

    // Bought in the store; one in two has an update there.
    std::optional<Application> addStoreApplication(const QString& name, int index) {
        const QString id = QString::number(400'000'000 + index * 7919);
        const QString version = QStringLiteral("4.%1").arg(index);
        auto application =
            readBundle(name, QStringLiteral("com.store.") + slugOf(name, index), version);
        if (!application) {
            return std::nullopt;
        }
        application->masApp = MASApp{id, name, version};
        storeInstalled.append(QJsonObject{{QStringLiteral("id"), id},
                                          {QStringLiteral("name"), name},
                                          {QStringLiteral("version"), version},
                                          {QStringLiteral("bundlePath"), application->bundlePath}});
        if (index % 2 == 0) {
            storeUpdates.append(
                QJsonObject{{QStringLiteral("id"), id},
                            {QStringLiteral("version"), QStringLiteral("4.%1.1").arg(index)}});
            ++expectedStoreUpdates;
        }
        return application;
    }

    // A link to the built tool where the layout looks for it, with
    // "<name>.state" beside it naming its state folder.
    void installTool(const QString& tool, const QString& path, const QString& stateFolder) {
        const QString state = sandbox.root.filePath(stateFolder);
        QDir().mkpath(state);
        if (!QFile::link(QStringLiteral(TARNEL_BIN_DIR "/") + tool, path)) {
            failSetup("cannot place a tool in the sandbox");
        }
        writeAll(path + QStringLiteral(".state"), QFile::encodeName(state));
    }

    FeedSandbox sandbox;
    QList<Application> applications;
    qsizetype expectedBrewUpdates = 0;
    qsizetype expectedStoreUpdates = 0;
    QJsonArray casks;
    QJsonObject installedCasks;
    QJsonArray storeInstalled;
    QJsonArray storeUpdates;
};

Machine& machine() {
    static Machine instance;
    return instance;
}

// Every service, built by the program's own composition root afresh for
// each measurement, so that neither a connection nor a cached answer carries
// over.
std::unique_ptr<DependencyContainer> freshServices(const Machine& setup) {
    return std::make_unique<DependencyContainer>(setup.sandbox.layout, warningsOnStandardError);
}

// Runs a tool to its end with a plain blocking wait, and gives its standard output.
QByteArray runTool(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(-1)) {
        return {};
    }
    return process.readAllStandardOutput();
}

// The time of one source, in the floor and in the service's check alone.
struct SourceTimes {
    RoundTimes floor;
    RoundTimes alone;
};

// What every round added up; printed once at the end.
struct Totals {
    RoundTimes floor;
    RoundTimes discovery;
    SourceTimes brew;
    SourceTimes feeds;
    SourceTimes store;
    int rounds = 0;
};

Totals& totals() {
    static Totals instance;
    return instance;
}

// The floor: the same answers by plain calls, one after the other.
struct FloorResult {
    qsizetype outdatedCasks = 0;
    qint64 feedBytes = 0;
    qsizetype storeUpdates = 0;
};

FloorResult floorRound(const Machine& setup, HttpsClient& client, Totals& sum) {
    FloorResult result;
    const RoundTimer brewTimer;
    const BrewOutdatedReport report =
        BrewOutdatedReport::parse(runTool(setup.sandbox.layout.brewCandidates.first(),
                                          {QStringLiteral("outdated"), QStringLiteral("--cask"),
                                           QStringLiteral("--greedy"), QStringLiteral("--json")}));
    result.outdatedCasks = report.casks.size();
    sum.brew.floor.add(brewTimer);
    const RoundTimer feedTimer;
    result.feedBytes = QCoro::waitFor(getEveryFeed(client, setup.sandbox.feedUrls()));
    sum.feeds.floor.add(feedTimer);
    const RoundTimer storeTimer;
    result.storeUpdates =
        parseMASOutdated(QString::fromUtf8(runTool(setup.sandbox.layout.masCandidates.first(),
                                                   {QStringLiteral("outdated")})))
            .size();
    sum.store.floor.add(storeTimer);
    return result;
}

void updateDiscovery(benchmark::State& state) {
    Machine& setup = machine();
    Totals& sum = totals();
    // The summary tells of the last call alone, whose rounds the table shows.
    sum = {};
    for (auto _ : state) {
        auto floorClient = std::make_unique<HttpsClient>(setup.sandbox.layout);
        const RoundTimer floorTimer;
        const FloorResult floor = floorRound(setup, *floorClient, sum);
        sum.floor.add(floorTimer);
        floorClient.reset();

        auto services = freshServices(setup);
        const RoundTimer discoveryTimer;
        const UpdateLists lists = QCoro::waitFor(
            services->updateService.discoverAllUpdates(setup.applications, hasAdminPermission));
        sum.discovery.add(discoveryTimer);
        state.SetIterationTime(discoveryTimer.wallSeconds());
        services.reset();

        // Each source alone, for its share.
        services = freshServices(setup);
        const RoundTimer brewTimer;
        const auto brewUpdates = QCoro::waitFor(
            services->updateService.checkBrewUpdates(setup.applications, hasAdminPermission));
        sum.brew.alone.add(brewTimer);
        const RoundTimer feedTimer;
        const auto feedUpdates =
            QCoro::waitFor(services->updateService.checkSparkleUpdates(setup.applications));
        sum.feeds.alone.add(feedTimer);
        const RoundTimer storeTimer;
        const auto storeUpdates =
            QCoro::waitFor(services->updateService.checkMASUpdates(setup.applications));
        sum.store.alone.add(storeTimer);
        services.reset();
        ++sum.rounds;

        if (floor.outdatedCasks != setup.expectedBrewUpdates ||
            floor.feedBytes != setup.sandbox.feedBytes() ||
            floor.storeUpdates != setup.expectedStoreUpdates) {
            state.SkipWithError("the floor did not get every answer");
            return;
        }
        if (lists.brewUpdates.size() != setup.expectedBrewUpdates ||
            lists.sparkleUpdates.size() != setup.sandbox.laggingApplications() ||
            lists.masUpdates.size() != setup.expectedStoreUpdates ||
            brewUpdates.size() != setup.expectedBrewUpdates ||
            feedUpdates.size() != setup.sandbox.laggingApplications() ||
            storeUpdates.size() != setup.expectedStoreUpdates) {
            state.SkipWithError("a discovery did not find every update");
            return;
        }
    }
    const auto rounds = static_cast<double>(sum.rounds);
    state.counters["floor_ms"] = sum.floor.wall * 1000.0 / rounds;
    state.counters["discovery_ms"] = sum.discovery.wall * 1000.0 / rounds;
    state.counters["ratio"] = sum.discovery.wall / sum.floor.wall;
    state.counters["cpu_ratio"] = sum.discovery.processor / sum.floor.processor;
}

// The ratio against its goal, each source in the floor and alone with its
// share of the three checks, and the peak memory.
void printSummary(double residentAfterSetup) {
    const Totals& sum = totals();
    if (sum.rounds == 0 || sum.floor.wall <= 0.0) {
        return;
    }
    const double rounds = sum.rounds;
    std::printf(
        "update discovery: %.1f ms wall, floor %.1f ms, %.2fx (goal at most 1.3x); "
        "processor %.2fx\n",
        sum.discovery.wall * 1000.0 / rounds, sum.floor.wall * 1000.0 / rounds,
        sum.discovery.wall / sum.floor.wall, sum.discovery.processor / sum.floor.processor);
    const double alone = sum.brew.alone.wall + sum.feeds.alone.wall + sum.store.alone.wall;
    std::printf("  %-20s %10s %10s %8s\n", "source", "floor", "alone", "share");
    const auto source = [&](const char* name, const SourceTimes& times) {
        std::printf("  %-20s %7.1f ms %7.1f ms %7.1f%%\n", name, times.floor.wall * 1000.0 / rounds,
                    times.alone.wall * 1000.0 / rounds, 100.0 * times.alone.wall / alone);
    };
    source("checkBrewUpdates", sum.brew);
    source("checkSparkleUpdates", sum.feeds);
    source("checkMASUpdates", sum.store);
    std::printf("peak resident memory: %.1f MiB (%.1f MiB once the sandbox was made)\n",
                peakResidentMiB(), residentAfterSetup);
}

}  // namespace

// The time of a round is that of the discovery; `ratio` sets it against the
// floor in wall time (goal: at most 1.3), `cpu_ratio` in the processor time of
// the process and its tools.
BENCHMARK(updateDiscovery)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(5.0);

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    machine();
    const double residentAfterSetup = peakResidentMiB();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printSummary(residentAfterSetup);
    return 0;
}
