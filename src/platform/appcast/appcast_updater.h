#pragma once

#include "platform/appcast/appcast_engine_settings.h"
#include "platform/appcast/bundle_manifest.h"
#include "updates/sparkle_updater.h"

#include <QString>

#include <memory>

namespace tarnel {

class AppcastUpdateSession;
class Clock;
class HttpsClient;
class SparkleUpdaterDelegate;
class SparkleUserDriver;

// The portable updater: reads the host bundle, fetches and chooses from its
// feed, and installs over it, reporting to the driver as the framework does.
// Destroying it ends whatever it is doing, silently.
class AppcastUpdater final : public SparkleUpdater {
public:
    AppcastUpdater(QString hostBundlePath, SparkleUserDriver& driver,
                   SparkleUpdaterDelegate& delegate, HttpsClient& client, const Clock& clock,
                   AppcastEngineSettings settings);
    ~AppcastUpdater() override;

    std::optional<SparkleFrameworkError> startUpdater() override;
    void checkForUpdates() override;

private:
    QString hostBundlePath;
    SparkleUserDriver& driver;
    SparkleUpdaterDelegate& delegate;
    HttpsClient& client;
    const Clock& clock;
    AppcastEngineSettings settings;
    std::optional<BundleManifest> host;
    std::shared_ptr<AppcastUpdateSession> session;
};

}  // namespace tarnel
