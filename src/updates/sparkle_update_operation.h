#pragma once

#include "core/records/application.h"
#include "core/records/sparkle_info.h"
#include "core/records/update_state.h"
#include "updates/sparkle_updater.h"
#include "updates/sparkle_updater_delegate.h"
#include "updates/sparkle_user_driver.h"

#include <QObject>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

namespace tarnel {

class Logger;
class SparkleUpdaterFactory;

// One install of one application's update through the framework: the driver
// answers every question with "install", turns the framework's reports into
// update states, and ends when the framework says the update is installed.
// Lives on the main thread and serves one update.
class SparkleUpdateOperation final : public QObject,
                                     public SparkleUserDriver,
                                     public SparkleUpdaterDelegate {
public:
    // Called with nothing on success, else with the error; may be called more
    // than once when the framework reports late, and only the first counts.
    using CompletionHandler = std::function<void(std::exception_ptr)>;

    SparkleUpdateOperation(Application application, SparkleInfo sparkleInfo, Logger& logger,
                           SparkleUpdaterFactory& updaterFactory);
    ~SparkleUpdateOperation() override;

    void setProgressHandler(ProgressHandler handler) { progressHandler = std::move(handler); }
    void setCompletionHandler(CompletionHandler handler) { completionHandler = std::move(handler); }

    void start();
    void cancel();
    // Nothing for success; a `CancellationError` for a cancel.
    void finish(std::exception_ptr error = nullptr);

    const UpdateState& state() const { return progressState; }
    bool hasUpdater() const { return updater != nullptr; }

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
    void setState(UpdateState state);
    void createAndStartUpdater();
    // The framework's updater goes away on a later turn of the main thread,
    // never inside one of its own callbacks.
    void releaseUpdaterLater();
    SparkleUpdateChoice installUnlessCancelled() const;

    Application application;
    SparkleInfo sparkleInfo;
    Logger& logger;
    SparkleUpdaterFactory& updaterFactory;
    std::unique_ptr<SparkleUpdater> updater;
    Action cancellationCallback;
    bool isOperationCancelled = false;
    UpdateState progressState;
    ProgressHandler progressHandler;
    CompletionHandler completionHandler;
    std::uint64_t expectedContentLength = 0;
    std::uint64_t receivedLength = 0;
};

}  // namespace tarnel
