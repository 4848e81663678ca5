#include "platform/appcast/appcast_updater_factory.h"

#include "platform/appcast/appcast_updater.h"

#include <utility>

namespace tarnel {

AppcastUpdaterFactory::AppcastUpdaterFactory(HttpsClient& client, const Clock& clock,
                                             AppcastEngineSettings settings)
    : client(client), clock(clock), settings(std::move(settings)) {}

std::unique_ptr<SparkleUpdater> AppcastUpdaterFactory::createUpdater(
    const QString& hostBundlePath, const QString&, SparkleUserDriver& userDriver,
    SparkleUpdaterDelegate& delegate) {
    // The host is the application updated: its bundle is replaced in place.
    return std::make_unique<AppcastUpdater>(hostBundlePath, userDriver, delegate, client, clock,
                                            settings);
}

}  // namespace tarnel
