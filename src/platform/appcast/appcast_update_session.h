#pragma once

#include "core/async/cancellation_source.h"
#include "platform/appcast/appcast_engine_settings.h"
#include "platform/appcast/bundle_manifest.h"
#include "updates/sparkle_user_driver.h"

#include <QObject>
#include <QString>

#include <memory>

#include <qcoro/qcorotask.h>

namespace tarnel {

class Clock;
class HttpsClient;
class SparkleUpdaterDelegate;
struct AppcastItem;
struct AppcastItemState;

// One user-initiated check of a host's feed and, as the driver answers, the
// download, verification and install of the update, reported through the
// driver's callbacks in the framework's order. Runs on the main thread;
// blocking steps go to the worker pool.
class AppcastUpdateSession : public std::enable_shared_from_this<AppcastUpdateSession> {
public:
    AppcastUpdateSession(QString hostBundlePath, BundleManifest host, SparkleUserDriver& driver,
                         SparkleUpdaterDelegate& delegate, HttpsClient& client, const Clock& clock,
                         AppcastEngineSettings settings);

    // Starts the session; it holds itself until it ends.
    void start();
    // Stops at once: the driver is never called again, running transfers end,
    // and an install under way is rolled back by its own guard.
    void end();

private:
    static QCoro::Task<> run(std::shared_ptr<AppcastUpdateSession> self);
    QCoro::Task<> checkAndInstall();
    QCoro::Task<> install(const AppcastItem& item);
    QCoro::Task<SparkleUpdateChoice> askAboutUpdate(const AppcastItem& item,
                                                    const AppcastItemState& state);
    QCoro::Task<SparkleUpdateChoice> askToInstall();
    void report(const std::exception_ptr& failure);
    // The framework's user agent, naming the host.
    QByteArray userAgent() const;
    // An action for the driver that cancels this session, if it still runs.
    SparkleUserDriver::Action cancellation();

    QString hostBundlePath;
    BundleManifest host;
    SparkleUserDriver& driver;
    SparkleUpdaterDelegate& delegate;
    HttpsClient& client;
    const Clock& clock;
    AppcastEngineSettings settings;
    CancellationSource cancellationSource;
    bool isRunning = false;
    // Receives the worker pool's progress on the main thread.
    QObject receiver;
};

}  // namespace tarnel
