#include "updates/sparkle_update_checker_operation.h"

#include "updates/sparkle_framework_error.h"
#include "updates/sparkle_updater_factory.h"
#include "versions/version_rules.h"

#include <utility>

namespace tarnel {

namespace {

SparkleUpdate buildUpdate(const Application& application, const SparkleInfo& sparkleInfo,
                          const SparkleAppcastItem& item, const QString& currentVersion,
                          const QString& availableVersion) {
    SparkleUpdate update;
    update.id = application.id + QLatin1Char('_') + availableVersion;
    update.applicationId = application.id;
    update.bundleIdentifier = application.bundleIdentifier;
    update.feedURL = sparkleInfo.feedURL;
    update.currentVersion = currentVersion;
    update.availableVersion = availableVersion;
    update.releaseNotes = item.itemDescription;
    update.downloadURL = item.fileURL ? item.fileURL->toString(QUrl::FullyEncoded) : QString();
    update.requiresRestart = true;
    update.publishedDate = item.date;
    if (item.contentLength != 0) {
        update.fileSize = static_cast<std::int64_t>(item.contentLength);
    }
    return update;
}

}  // namespace

SparkleUpdateCheckerOperation::SparkleUpdateCheckerOperation(Application application,
                                                             SparkleInfo sparkleInfo,
                                                             Completion completion)
    : application(std::move(application)),
      sparkleInfo(std::move(sparkleInfo)),
      completion(std::move(completion)) {}

void SparkleUpdateCheckerOperation::start(SparkleUpdaterFactory& updaterFactory) {
    auto created =
        updaterFactory.createUpdater(application.bundlePath, application.bundlePath, *this, *this);
    if (auto error = created->startUpdater()) {
        completion.fail(std::make_exception_ptr(*error));
        return;
    }
    created->checkForUpdates();
    updater = std::move(created);
}

void SparkleUpdateCheckerOperation::completeWithComparison(const SparkleAppcastItem& item) {
    const QString currentVersion =
        compositeVersion(application.shortVersion, application.bundleVersion);
    const QString availableVersion =
        compositeVersion(item.displayVersionString, item.versionString);
    if (isVersionNewer(availableVersion, currentVersion)) {
        completion.resume(
            buildUpdate(application, sparkleInfo, item, currentVersion, availableVersion));
    } else {
        completion.resume(std::nullopt);
    }
}

QString SparkleUpdateCheckerOperation::feedURLStringForUpdater() {
    return sparkleInfo.feedURL;
}

void SparkleUpdateCheckerOperation::showUpdatePermissionRequest(
    std::function<void(SparklePermissionResponse)> reply) {
    reply(SparklePermissionResponse{.automaticUpdateChecks = false, .sendSystemProfile = false});
}

void SparkleUpdateCheckerOperation::showUpdateFound(
    const SparkleAppcastItem& item, SparkleUserUpdateState,
    std::function<void(SparkleUpdateChoice)> reply) {
    completeWithComparison(item);
    reply(SparkleUpdateChoice::skip);
}

void SparkleUpdateCheckerOperation::showUpdateNotFound(const SparkleFrameworkError& error,
                                                       Action acknowledgement) {
    // The framework compares by its own order; the latest item it saw is
    // compared again by ours, which may disagree.
    const bool carriesLatestItem =
        error.domain() == QLatin1String(SparkleFrameworkError::errorDomain) &&
        error.code() == SparkleFrameworkError::noUpdateErrorCode && error.latestAppcastItem() &&
        !error.hasUnderlyingError();
    if (carriesLatestItem) {
        completeWithComparison(*error.latestAppcastItem());
    } else {
        completion.resume(std::nullopt);
    }
    acknowledgement();
}

void SparkleUpdateCheckerOperation::showUpdaterError(const SparkleFrameworkError&,
                                                     Action acknowledgement) {
    completion.resume(std::nullopt);
    acknowledgement();
}

void SparkleUpdateCheckerOperation::showUpdateInstalledAndRelaunched(bool, Action acknowledgement) {
    acknowledgement();
}

// A silent check shows nothing else.
void SparkleUpdateCheckerOperation::showUserInitiatedUpdateCheck(Action) {}
void SparkleUpdateCheckerOperation::showUpdateReleaseNotes(const QByteArray&) {}
void SparkleUpdateCheckerOperation::showUpdateReleaseNotesFailedToDownload(
    const SparkleFrameworkError&) {}
void SparkleUpdateCheckerOperation::showDownloadInitiated(Action) {}
void SparkleUpdateCheckerOperation::showDownloadDidReceiveExpectedContentLength(std::uint64_t) {}
void SparkleUpdateCheckerOperation::showDownloadDidReceiveDataOfLength(std::uint64_t) {}
void SparkleUpdateCheckerOperation::showDownloadDidStartExtractingUpdate() {}
void SparkleUpdateCheckerOperation::showExtractionReceivedProgress(double) {}
void SparkleUpdateCheckerOperation::showReadyToInstallAndRelaunch(
    std::function<void(SparkleUpdateChoice)>) {}
void SparkleUpdateCheckerOperation::showInstallingUpdate(bool, Action) {}
void SparkleUpdateCheckerOperation::showUpdateInFocus() {}
void SparkleUpdateCheckerOperation::dismissUserInitiatedUpdateCheck() {}
void SparkleUpdateCheckerOperation::showSendingTerminationSignal() {}
void SparkleUpdateCheckerOperation::dismissUpdateInstallation() {}

}  // namespace tarnel
