#include "platform/appcast/appcast_updater.h"

#include "platform/appcast/appcast_update_session.h"
#include "platform/appcast/updater_error.h"

#include <utility>

namespace tarnel {

namespace {

SparkleFrameworkError startError(UpdaterError::Code code, const QString& description) {
    return SparkleFrameworkError(QString::fromLatin1(SparkleFrameworkError::errorDomain),
                                 static_cast<int>(code), description);
}

}  // namespace

AppcastUpdater::AppcastUpdater(QString hostBundlePath, SparkleUserDriver& driver,
                               SparkleUpdaterDelegate& delegate, HttpsClient& client,
                               const Clock& clock, AppcastEngineSettings settings)
    : hostBundlePath(std::move(hostBundlePath)),
      driver(driver),
      delegate(delegate),
      client(client),
      clock(clock),
      settings(std::move(settings)) {}

AppcastUpdater::~AppcastUpdater() {
    if (session) {
        session->end();
    }
}

std::optional<SparkleFrameworkError> AppcastUpdater::startUpdater() {
    host = readBundleManifest(hostBundlePath);
    if (!host) {
        return startError(UpdaterError::Code::invalidUpdater,
                          QStringLiteral("The application's Info.plist could not be read."));
    }
    if (host->identifier.isEmpty()) {
        return startError(UpdaterError::Code::invalidHostBundleIdentifier,
                          QStringLiteral("The application has no bundle identifier."));
    }
    if (host->version.isEmpty()) {
        return startError(UpdaterError::Code::invalidHostVersion,
                          QStringLiteral("The application has no bundle version."));
    }
    return std::nullopt;
}

void AppcastUpdater::checkForUpdates() {
    if (!host || session) {
        return;
    }
    session = std::make_shared<AppcastUpdateSession>(hostBundlePath, *host, driver, delegate,
                                                     client, clock, settings);
    session->start();
}

}  // namespace tarnel
