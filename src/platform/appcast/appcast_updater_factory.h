#pragma once

#include "platform/appcast/appcast_engine_settings.h"
#include "updates/sparkle_updater_factory.h"

namespace tarnel {

class Clock;
class HttpsClient;

// Makes the portable updaters, all fetching through the program's one HTTPS
// client.
class AppcastUpdaterFactory final : public SparkleUpdaterFactory {
public:
    AppcastUpdaterFactory(HttpsClient& client, const Clock& clock, AppcastEngineSettings settings);

    std::unique_ptr<SparkleUpdater> createUpdater(const QString& hostBundlePath,
                                                  const QString& applicationBundlePath,
                                                  SparkleUserDriver& userDriver,
                                                  SparkleUpdaterDelegate& delegate) override;

private:
    HttpsClient& client;
    const Clock& clock;
    AppcastEngineSettings settings;
};

}  // namespace tarnel
