// Installing a signed 50 MB zip update over an installed bundle (verify,
// extract, find, accept, swap, remove the old copy) against the floor of
// `unzip` of the same archive plus a copy of the result into place, in wall
// time since the floor runs in other processes. Then the peak resident
// memory of one install above the program's baseline.
#include "appcast/install_workshop.h"
#include "core/async/cancellation_token.h"
#include "platform/appcast/update_installer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "floor_reporter.h"

#include <benchmark/benchmark.h>
#include <sodium.h>

#include <cstdio>
#include <stdexcept>

using namespace tarnel;

namespace {

constexpr int blobCount = 200;
constexpr int blobSize = 256 * 1024;

// The installed bundle, and a newer one of about 50 MB of incompressible
// data in a signed zip, made once.
class InstallMachine {
public:
    InstallMachine() {
        const SigningKey key;
        writeBundle(installed(), {.publicEdKey = key.publicKey()});
        const QString vendor =
            writeBundle(folder.filePath(QStringLiteral("vendor/Foo.app")),
                        {.version = QStringLiteral("200"), .publicEdKey = key.publicKey()});
        QByteArray blob(blobSize, Qt::Uninitialized);
        for (int index = 0; index < blobCount; ++index) {
            randombytes_buf(blob.data(), blob.size());
            writeTestFile(vendor + QStringLiteral("/Contents/Resources/blob%1").arg(index), blob);
        }
        QDir().mkpath(work());
        QDir().mkpath(floorApplications());
        ArchiveBuilder().tree(vendor, "Foo.app").writeZip(archive());
        signature = key.signFile(archive());
    }

    QString installed() const { return folder.filePath(QStringLiteral("Applications/Foo.app")); }
    QString work() const { return folder.filePath(QStringLiteral("work")); }
    QString archive() const { return work() + QStringLiteral("/Foo-2.0.zip"); }
    QString floorApplications() const { return folder.filePath(QStringLiteral("Floor")); }
    QString floorExtraction() const { return folder.filePath(QStringLiteral("floor-unzipped")); }

    UpdateInstallRequest request() const {
        return UpdateInstallRequest{.archivePath = archive(),
                                    .downloadedName = QStringLiteral("Foo-2.0.zip"),
                                    .enclosureName = QStringLiteral("Foo-2.0.zip"),
                                    .edSignature = signature,
                                    .installedPath = installed(),
                                    .bundleIdentifier = QStringLiteral("org.example.foo"),
                                    .workFolder = work()};
    }

private:
    QTemporaryDir folder;
    QString signature;
};

InstallMachine& machine() {
    static InstallMachine instance;
    return instance;
}

void installUpdate() {
    // The same version may be installed again, so every round does the full work.
    const UpdateInstaller installer;
    installer.install(installer.prepare(machine().request(), {}, {}), {}, {});
}

bool run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

void install(benchmark::State& state) {
    for (auto _ : state) {
        installUpdate();
    }
}

void unzipAndCopyFloor(benchmark::State& state) {
    const InstallMachine& setup = machine();
    const QString target = setup.floorApplications() + QStringLiteral("/Foo.app");
    if (QStandardPaths::findExecutable(QStringLiteral("unzip")).isEmpty()) {
        state.SkipWithError("unzip is not installed (scripts/bootstrap installs it)");
        return;
    }
    for (auto _ : state) {
        QDir(target).removeRecursively();
        if (!run(QStringLiteral("unzip"), {QStringLiteral("-q"), setup.archive(),
                                           QStringLiteral("-d"), setup.floorExtraction()}) ||
            !run(QStringLiteral("cp"),
                 {QStringLiteral("-a"), setup.floorExtraction() + QStringLiteral("/Foo.app"),
                  target})) {
            state.SkipWithError("the floor's commands failed");
            return;
        }
        QDir(setup.floorExtraction()).removeRecursively();
    }
}

// A field of /proc/self/status, in kibibytes.
long statusKibibytes(const char* field) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field)) {
            return line.mid(qstrlen(field)).trimmed().split(' ').first().toLong();
        }
    }
    return -1;
}

// Resets the peak to the current resident size, installs once, and reports
// how far the peak rose.
void reportInstallMemory() {
    QFile clearRefs(QStringLiteral("/proc/self/clear_refs"));
    const long baseline = statusKibibytes("VmRSS:");
    if (!clearRefs.open(QIODevice::WriteOnly) || clearRefs.write("5") != 1) {
        std::printf("peak resident memory: cannot reset the peak on this system\n");
        return;
    }
    clearRefs.close();
    installUpdate();
    const long peak = statusKibibytes("VmHWM:");
    std::printf(
        "install: peak resident memory %.1f MiB above a baseline of %.1f MiB "
        "(goal under 64 MiB)\n",
        (peak - baseline) / 1024.0, baseline / 1024.0);
}

}  // namespace

BENCHMARK(install)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);
BENCHMARK(unzipAndCopyFloor)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);

int main(int argc, char** argv) {
    if (sodium_init() < 0) {
        throw std::runtime_error("libsodium cannot start");
    }
    machine();
    reportInstallMemory();
    benchmark::Initialize(&argc, argv);
    FloorReporter reporter(
        [](const FloorReporter::Times& times) {
            // Names carry the options after a slash, such as "/real_time".
            const auto timeOf = [&times](const std::string& name) {
                for (const auto& [key, value] : times) {
                    if (key == name || key.starts_with(name + '/')) {
                        return value;
                    }
                }
                return 0.0;
            };
            const double floor = timeOf("unzipAndCopyFloor");
            if (timeOf("install") > 0.0 && floor > 0.0) {
                std::printf("install = %.2fx unzip and copy (goal at most 1.3x)\n",
                            timeOf("install") / floor);
            }
        },
        FloorReporter::Clock::wall);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
