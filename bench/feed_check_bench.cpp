// Checking the update feeds of 100 applications, one at a time, through the
// update service and the portable engine, from the call to the list of
// updates, against the floor of plain GETs of the same 100 feeds, one at a
// time, through the same HTTPS client with the same trust. Each iteration
// runs a round of both, each on a client of its own made outside the timing,
// so that a change in the machine's load falls on both alike. Wall time, since
// the engine parses on the worker pool and the server answers on its own
// threads; and the processor time of the whole process beside it.

#include "appcast/install_workshop.h"
#include "appcast_feed_writer.h"
#include "bundle_version.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_clock.h"
#include "core/system_layout.h"
#include "discovery/application_reader.h"
#include "feed_signing_key.h"
#include "loopback_certificates.h"
#include "loopback_https_server.h"
#include "platform/appcast/appcast_updater_factory.h"
#include "platform/appcast/appcast_xml_reader.h"
#include "platform/https_client.h"
#include "updates/sparkle_service.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include "event_loop_main.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

#include <qcoro/qcorotask.h>

using namespace tarnel;

namespace {

constexpr int applicationCount = 100;
constexpr std::array changes{
    QLatin1String("Fixed a crash when opening documents from a network volume."),
    QLatin1String("Improved the speed of searching large libraries."),
    QLatin1String("The toolbar can now be customised from the View menu."),
    QLatin1String("Fixed the window position not being restored after a restart."),
    QLatin1String("Added keyboard shortcuts for the most common actions."),
    QLatin1String("Reduced memory use while importing many files at once."),
    QLatin1String("Updated translations for German, French, Japanese and Brazilian Portuguese."),
    QLatin1String("Fixed an issue where the menu bar icon appeared blank in dark mode."),
    QLatin1String("Exports now keep the colour profile of the original image."),
    QLatin1String("Security: updated the bundled TLS library."),
    QLatin1String("Fixed a rare hang when the computer wakes from sleep."),
    QLatin1String("Preferences are now synchronised across devices when enabled."),
};

// Application number `index` publishes releases 2.1.0 (build 2001) up to
// 2.n.0 (build 200n), n being 10 to 30.
int releaseCountOf(int index) {
    return 10 + index % 21;
}

QString shortVersionOf(int minor) {
    return QStringLiteral("2.%1.0").arg(minor);
}

QString buildVersionOf(int minor) {
    return QString::number(2000 + minor);
}

QString slugOf(const QString& name, int index) {
    QString slug;
    for (const QChar character : name.toLower()) {
        if (character.isLetterOrNumber() && character.unicode() < 0x80) {
            slug.append(character);
        }
    }
    return slug + u'-' + QString::number(index);
}

// Release notes as publishers write them: a heading and a list of changes.
QString releaseNotes(QRandomGenerator& random, const QString& name, const QString& version) {
    QString notes = QStringLiteral("<h2>What's new in %1 %2</h2>\n<ul>\n").arg(name, version);
    const int count = 6 + static_cast<int>(random.bounded(10));
    for (int line = 0; line < count; ++line) {
        notes += QStringLiteral("<li>%1</li>\n")
                     .arg(changes.at(random.bounded(static_cast<int>(changes.size()))));
    }
    return notes + QStringLiteral("</ul>\n<p>Thank you for your feedback.</p>\n");
}

// One application's feed, newest first.
QByteArray feedOf(int index, const QString& name, const QString& slug, const QUrl& base,
                  const FeedSigningKey& publisher) {
    QRandomGenerator random(static_cast<quint32>(index + 1));
    const int releaseCount = releaseCountOf(index);
    QList<PublishedRelease> releases;
    const QDateTime newest = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    for (int age = 0; age < releaseCount; ++age) {
        const int minor = releaseCount - age;
        PublishedRelease release;
        release.shortVersion = shortVersionOf(minor);
        release.version = buildVersionOf(minor);
        release.title = QStringLiteral("Version ") + release.shortVersion;
        release.publishedDate = newest.addDays(-14 * age);
        release.minimumSystemVersion =
            age < releaseCount / 2 ? QStringLiteral("13.0") : QStringLiteral("11.0");
        // Half the publishers link their archives absolutely.
        const QString archive = QStringLiteral("%1-%2.zip").arg(slug, release.shortVersion);
        release.enclosureUrl =
            index % 2 == 0 ? archive : base.toString() + QStringLiteral("/downloads/") + archive;
        release.length = 20'000'000 + static_cast<std::int64_t>(random.bounded(30'000'000));
        release.edSignature = publisher.signBytes(archive.toUtf8());
        release.description = releaseNotes(random, name, release.shortVersion);
        releases.append(release);
    }
    return writeAppcastFeed(name, releases);
}

// A failed check tells why; the routine lines would bury the table.
void warningsOnStandardError(LogLevel level, const QString& line) {
    if (level != LogLevel::info) {
        std::fprintf(stderr, "%s\n", qPrintable(line));
    }
}

// The 100 bundles, their feeds on a loopback server and the applications as
// discovery reads them, made once.
struct Machine {
    Machine()
        : certificates(LoopbackCertificates::create(root.filePath(QStringLiteral("tls")))),
          server(certificates),
          settings(root.filePath(QStringLiteral("settings.json"))),
          logger(warningsOnStandardError, settings, root.filePath(QStringLiteral("Desktop"))) {
        if (!server.start()) {
            fail("the loopback server did not start");
        }
        layout.applicationsDirectory = root.filePath(QStringLiteral("Applications"));
        layout.temporaryDirectory = root.filePath(QStringLiteral("tmp"));
        layout.dataDirectory = root.filePath(QStringLiteral("data"));
        layout.extraTrustedCertificates = certificates.authorityCertificate;
        layout.systemVersion = QStringLiteral("15.0.0");
        layout.preferredLanguages = {QStringLiteral("en")};
        for (const QString& folder : {layout.temporaryDirectory, layout.dataDirectory}) {
            QDir().mkpath(folder);
        }
        publish();
    }

    // Three applications in four lag a few releases behind their feed. Names
    // that discovery takes for helper tools are passed over.
    void publish() {
        QFile namesFile(QStringLiteral(TARNEL_SHARED_DIR "/data/app-names.txt"));
        if (!namesFile.open(QIODevice::ReadOnly)) {
            fail("cannot read the application names");
        }
        const QStringList names =
            QString::fromUtf8(namesFile.readAll()).split(u'\n', Qt::SkipEmptyParts);
        const FeedSigningKey publisher = FeedSigningKey::generate();
        for (const QString& name : names) {
            if (applications.size() == applicationCount) {
                return;
            }
            const auto index = static_cast<int>(applications.size());
            const QString slug = slugOf(name, index);
            QUrl feedUrl = server.baseUrl();
            feedUrl.setPath(QStringLiteral("/feeds/%1.xml").arg(slug));
            const int newestMinor = releaseCountOf(index);
            const int installedMinor = index % 4 == 0 ? newestMinor : newestMinor - 3;
            const QString bundle =
                layout.applicationsDirectory + u'/' + name + QStringLiteral(".app");
            writeBundle(bundle, {.identifier = QStringLiteral("com.vendor.") + slug,
                                 .version = buildVersionOf(installedMinor),
                                 .name = name,
                                 .publicEdKey = publisher.publicKeyBase64()});
            if (!writeBundleVersion(
                    bundle, {shortVersionOf(installedMinor), buildVersionOf(installedMinor)}) ||
                !writeInfoPlistTexts(bundle, {{QStringLiteral("SUFeedURL"), feedUrl.toString()}})) {
                fail("cannot point a bundle at its feed");
            }
            auto application = createApplication(bundle, layout.preferredLanguages, logger);
            if (!application) {
                QDir(bundle).removeRecursively();
                continue;
            }
            applications.append(std::move(*application));
            expectedUpdates += index % 4 == 0 ? 0 : 1;

            const QByteArray feed = feedOf(index, name, slug, server.baseUrl(), publisher);
            ServedRoute route = ServedRoute::bytes(feed);
            route.contentType = "application/rss+xml";
            server.setRoute(feedUrl.path(), route);
            feedUrls.append(feedUrl);
            feedBytes += feed.size();
        }
        fail("too few application names");
    }

    [[noreturn]] static void fail(const char* reason) {
        std::fprintf(stderr, "%s\n", reason);
        std::exit(1);
    }

    QTemporaryDir root;
    LoopbackCertificates certificates;
    LoopbackHttpsServer server;
    SettingsStore settings;
    Logger logger;
    SystemClock clock;
    SystemLayout layout;
    QList<QUrl> feedUrls;
    qint64 feedBytes = 0;
    qsizetype expectedUpdates = 0;
    QList<Application> applications;
};

Machine& machine() {
    static Machine instance;
    return instance;
}

// What a command-line check builds: one client, the engine over it and the
// service over that, made afresh so that neither a connection nor a cached
// answer carries over from the round before.
struct CheckServices {
    explicit CheckServices(Machine& machine)
        : client(machine.layout),
          factory(client, machine.clock,
                  AppcastEngineSettings{.systemVersion = machine.layout.systemVersion,
                                        .preferredLanguages = machine.layout.preferredLanguages,
                                        .temporaryDirectory = machine.layout.temporaryDirectory,
                                        .dataDirectory = machine.layout.dataDirectory}),
          service(machine.logger, factory, machine.clock) {}

    HttpsClient client;
    AppcastUpdaterFactory factory;
    SparkleService service;
};

QCoro::Task<qint64> getEveryFeed(HttpsClient& client, const QList<QUrl>& urls) {
    qint64 received = 0;
    for (const QUrl& url : urls) {
        HttpsRequest request;
        request.url = url;
        request.maximumSize = maximumAppcastSize;
        request.unlabelledGzip = UnlabelledGzip::decode;
        received += (co_await client.get(request)).body.size();
    }
    co_return received;
}

// Wall and processor time of one round, the processor time of every thread
// of the process: the engine's, the network layer's and the server's.
class RoundTimer {
public:
    RoundTimer() : processorStart(processorSeconds()) { wall.start(); }

    double wallSeconds() const { return static_cast<double>(wall.nsecsElapsed()) / 1e9; }
    double processorSecondsSpent() const { return processorSeconds() - processorStart; }

private:
    static double processorSeconds() {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    }

    QElapsedTimer wall;
    double processorStart;
};

struct RoundTimes {
    double wall = 0;
    double processor = 0;

    void add(const RoundTimer& timer) {
        wall += timer.wallSeconds();
        processor += timer.processorSecondsSpent();
    }
};

void feedCheck(benchmark::State& state) {
    Machine& setup = machine();
    RoundTimes floor;
    RoundTimes check;
    for (auto _ : state) {
        auto floorClient = std::make_unique<HttpsClient>(setup.layout);
        const RoundTimer floorTimer;
        const qint64 received = QCoro::waitFor(getEveryFeed(*floorClient, setup.feedUrls));
        floor.add(floorTimer);
        floorClient.reset();

        auto services = std::make_unique<CheckServices>(setup);
        const RoundTimer checkTimer;
        const QList<SparkleUpdate> updates =
            QCoro::waitFor(services->service.checkForUpdates(setup.applications));
        check.add(checkTimer);
        state.SetIterationTime(checkTimer.wallSeconds());
        services.reset();

        if (received != setup.feedBytes || updates.size() != setup.expectedUpdates) {
            state.SkipWithError("a round did not fetch every feed or find every update");
            return;
        }
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["floor_ms"] = floor.wall * 1000.0 / rounds;
    state.counters["check_ms"] = check.wall * 1000.0 / rounds;
    state.counters["ratio"] = check.wall / floor.wall;
    state.counters["cpu_ratio"] = check.processor / floor.processor;
    state.counters["feed_kB"] = static_cast<double>(setup.feedBytes) / applicationCount / 1000.0;
}

}  // namespace

// The time of a round is that of the checks; `ratio` sets it against the
// floor in wall time (goal: at most 1.2), `cpu_ratio` in the processor time
// of the whole process, which a busy machine disturbs less.
BENCHMARK(feedCheck)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(3.0);

int main(int argc, char** argv) {
    return runBenchmarksWithEventLoop(argc, argv);
}
