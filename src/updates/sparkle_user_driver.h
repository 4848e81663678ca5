#pragma once

#include "updates/sparkle_appcast_item.h"

#include <QByteArray>

#include <cstdint>
#include <functional>

namespace tarnel {

class SparkleFrameworkError;

// The answers a driver gives when the framework offers an update or is ready
// to install one; the raw values are the framework's.
enum class SparkleUpdateChoice { skip = 0, install = 1, dismiss = 2 };

// How far the offered update already is when the framework shows it.
enum class SparkleUpdateStage { notDownloaded = 0, downloaded = 1, installing = 2 };

struct SparkleUserUpdateState {
    SparkleUpdateStage stage = SparkleUpdateStage::notDownloaded;
    bool userInitiated = false;
};

struct SparklePermissionResponse {
    bool automaticUpdateChecks = false;
    bool sendSystemProfile = false;
};

// Everything the framework shows or asks while it checks for and installs an
// update. Every call comes on the main thread; the callables it hands over
// (replies, cancellation, acknowledgement) stay valid until the session ends.
class SparkleUserDriver {
public:
    using Action = std::function<void()>;

    virtual ~SparkleUserDriver() = default;

    virtual void showUpdatePermissionRequest(
        std::function<void(SparklePermissionResponse)> reply) = 0;
    virtual void showUserInitiatedUpdateCheck(Action cancellation) = 0;
    virtual void showUpdateFound(const SparkleAppcastItem& item, SparkleUserUpdateState state,
                                 std::function<void(SparkleUpdateChoice)> reply) = 0;
    virtual void showUpdateReleaseNotes(const QByteArray& data) = 0;
    virtual void showUpdateReleaseNotesFailedToDownload(const SparkleFrameworkError& error) = 0;
    virtual void showUpdateNotFound(const SparkleFrameworkError& error, Action acknowledgement) = 0;
    virtual void showUpdaterError(const SparkleFrameworkError& error, Action acknowledgement) = 0;
    virtual void showDownloadInitiated(Action cancellation) = 0;
    virtual void showDownloadDidReceiveExpectedContentLength(std::uint64_t expectedLength) = 0;
    virtual void showDownloadDidReceiveDataOfLength(std::uint64_t length) = 0;
    virtual void showDownloadDidStartExtractingUpdate() = 0;
    virtual void showExtractionReceivedProgress(double progress) = 0;
    virtual void showReadyToInstallAndRelaunch(std::function<void(SparkleUpdateChoice)> reply) = 0;
    virtual void showInstallingUpdate(bool applicationTerminated,
                                      Action retryTerminatingApplication) = 0;
    virtual void showUpdateInstalledAndRelaunched(bool relaunched, Action acknowledgement) = 0;
    virtual void showUpdateInFocus() = 0;
    virtual void dismissUserInitiatedUpdateCheck() = 0;
    virtual void showSendingTerminationSignal() = 0;
    virtual void dismissUpdateInstallation() = 0;
};

}  // namespace tarnel
