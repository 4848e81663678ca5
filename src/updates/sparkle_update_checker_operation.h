#pragma once

#include "core/async/continuation.h"
#include "core/records/application.h"
#include "core/records/sparkle_info.h"
#include "core/records/sparkle_update.h"
#include "updates/sparkle_updater.h"
#include "updates/sparkle_updater_delegate.h"
#include "updates/sparkle_user_driver.h"

#include <memory>
#include <optional>

namespace tarnel {

class SparkleUpdaterFactory;

// One silent check of one application's feed: the driver that answers the
// framework's questions without showing anything, and resumes the waiting
// check with the update, if the item offered is newer by our own rule.
// Nothing is ever downloaded. Lives on the main thread, for one check.
class SparkleUpdateCheckerOperation final : public SparkleUserDriver,
                                            public SparkleUpdaterDelegate {
public:
    using Completion = ContinuationResumer<std::optional<SparkleUpdate>>;

    SparkleUpdateCheckerOperation(Application application, SparkleInfo sparkleInfo,
                                  Completion completion);

    // Creates the updater and starts the check, or completes with the error
    // when the updater cannot start.
    void start(SparkleUpdaterFactory& updaterFactory);

    QString feedURLStringForUpdater() override;

    void showUpdatePermissionRequest(std::function<void(SparklePermissionResponse)> reply) override;
    void showUserInitiatedUpdateCheck(Action cancellation) override;
    void showUpdateFound(const SparkleAppcastItem& item, SparkleUserUpdateState state,
                         std::function<void(SparkleUpdateChoice)> reply) override;
    void showUpdateReleaseNotes(const QByteArray& data) override;
    void showUpdateReleaseNotesFailedToDownload(const SparkleFrameworkError& error) override;
    void showUpdateNotFound(const SparkleFrameworkError& error, Action acknowledgement) override;
    void showUpdaterError(const SparkleFrameworkError& error, Action acknowledgement) override;
    void showDownloadInitiated(Action cancellation) override;
    void showDownloadDidReceiveExpectedContentLength(std::uint64_t expectedLength) override;
    void showDownloadDidReceiveDataOfLength(std::uint64_t length) override;
    void showDownloadDidStartExtractingUpdate() override;
    void showExtractionReceivedProgress(double progress) override;
    void showReadyToInstallAndRelaunch(std::function<void(SparkleUpdateChoice)> reply) override;
    void showInstallingUpdate(bool applicationTerminated,
                              Action retryTerminatingApplication) override;
    void showUpdateInstalledAndRelaunched(bool relaunched, Action acknowledgement) override;
    void showUpdateInFocus() override;
    void dismissUserInitiatedUpdateCheck() override;
    void showSendingTerminationSignal() override;
    void dismissUpdateInstallation() override;

private:
    // Completes with the item when it is newer than the installed version.
    void completeWithComparison(const SparkleAppcastItem& item);

    Application application;
    SparkleInfo sparkleInfo;
    Completion completion;
    std::unique_ptr<SparkleUpdater> updater;
};

}  // namespace tarnel
