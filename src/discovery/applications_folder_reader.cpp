#include "discovery/applications_folder_reader.h"

#include "core/async/worker_pool.h"
#include "discovery/application_reader.h"
#include "discovery/bundle_scanner.h"

#include <vector>

namespace tarnel {

namespace {

// Bundles read by one task on the pool: enough that handing results back to
// the caller's thread costs little beside the reads, few enough that the
// threads share the work evenly.
constexpr qsizetype bundlesPerTask = 16;

}  // namespace

QCoro::Task<QList<Application>> readApplicationsFolder(QString root, QStringList preferredLanguages,
                                                       Logger& logger) {
    const QStringList bundlePaths =
        co_await runOnWorkerPool([root] { return scanApplicationBundles(root); });
    std::vector<QCoro::Task<QList<Application>>> reads;
    for (qsizetype start = 0; start < bundlePaths.size(); start += bundlesPerTask) {
        reads.push_back(runOnWorkerPool([slice = bundlePaths.mid(start, bundlesPerTask),
                                         preferredLanguages, &logger] {
            QList<Application> applications;
            for (const QString& bundlePath : slice) {
                if (auto application = createApplication(bundlePath, preferredLanguages, logger)) {
                    applications.append(std::move(*application));
                }
            }
            return applications;
        }));
    }
    QList<Application> applications;
    for (auto& read : reads) {
        applications.append(co_await read);
    }
    co_return applications;
}

}  // namespace tarnel
