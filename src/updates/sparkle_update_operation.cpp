#include "updates/sparkle_update_operation.h"

#include "core/async/cancellation_error.h"
#include "core/logger.h"
#include "updates/sparkle_framework_error.h"
#include "updates/sparkle_update_error.h"
#include "updates/sparkle_updater_factory.h"

#include <QFileInfo>
#include <QMetaObject>

#include <utility>

namespace tarnel {

namespace {

bool isCancellation(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const CancellationError&) {
        return true;
    } catch (...) {
        return false;
    }
}

QString describe(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& failure) {
        return QString::fromUtf8(failure.what());
    } catch (...) {
        return QStringLiteral("Unknown error");
    }
}

}  // namespace

SparkleUpdateOperation::SparkleUpdateOperation(Application application, SparkleInfo sparkleInfo,
                                               Logger& logger,
                                               SparkleUpdaterFactory& updaterFactory)
    : application(std::move(application)),
      sparkleInfo(std::move(sparkleInfo)),
      logger(logger),
      updaterFactory(updaterFactory) {}

SparkleUpdateOperation::~SparkleUpdateOperation() = default;

void SparkleUpdateOperation::setState(UpdateState state) {
    progressState = std::move(state);
    if (!isOperationCancelled && progressHandler) {
        // The handler runs at once up to its first wait; the order of reports
        // is the order of the framework's callbacks.
        (void)progressHandler(progressState);
    }
}

void SparkleUpdateOperation::start() {
    if (isOperationCancelled) {
        finish(std::make_exception_ptr(CancellationError()));
        return;
    }
    logger.info(QStringLiteral("Starting Sparkle update for %1").arg(application.displayName));
    setState(UpdateState::initializing());
    if (!QFileInfo(application.bundlePath).isDir()) {
        finish(std::make_exception_ptr(
            SparkleUpdateError::updateFailed(QStringLiteral("Could not load app bundle"))));
        return;
    }
    QMetaObject::invokeMethod(
        this, [this] { createAndStartUpdater(); }, Qt::QueuedConnection);
}

void SparkleUpdateOperation::createAndStartUpdater() {
    if (isOperationCancelled) {
        finish(std::make_exception_ptr(CancellationError()));
        return;
    }
    auto created =
        updaterFactory.createUpdater(application.bundlePath, application.bundlePath, *this, *this);
    if (auto error = created->startUpdater()) {
        finish(std::make_exception_ptr(*error));
        return;
    }
    if (isOperationCancelled) {
        finish(std::make_exception_ptr(CancellationError()));
        return;
    }
    updater = std::move(created);
    updater->checkForUpdates();
}

void SparkleUpdateOperation::cancel() {
    logger.info(QStringLiteral("Cancelling Sparkle update for %1").arg(application.displayName));
    isOperationCancelled = true;
    setState(UpdateState::cancelling());
    if (cancellationCallback) {
        std::exchange(cancellationCallback, nullptr)();
    }
    releaseUpdaterLater();
    finish(std::make_exception_ptr(CancellationError()));
}

void SparkleUpdateOperation::finish(std::exception_ptr error) {
    if (isOperationCancelled && (!error || !isCancellation(error))) {
        return;
    }
    if (!error) {
        if (progressState.kind() != UpdateState::Kind::completed) {
            setState(UpdateState::completed());
            if (completionHandler) {
                completionHandler(nullptr);
            }
        }
    } else if (!isCancellation(error)) {
        setState(UpdateState::error(describe(error)));
        if (completionHandler) {
            completionHandler(error);
        }
    } else {
        logger.info(QStringLiteral("Sparkle update cancelled for %1").arg(application.displayName));
        setState(UpdateState::none());
        if (completionHandler) {
            completionHandler(error);
        }
    }
    releaseUpdaterLater();
}

void SparkleUpdateOperation::releaseUpdaterLater() {
    QMetaObject::invokeMethod(
        this, [this] { updater.reset(); }, Qt::QueuedConnection);
}

SparkleUpdateChoice SparkleUpdateOperation::installUnlessCancelled() const {
    return isOperationCancelled ? SparkleUpdateChoice::dismiss : SparkleUpdateChoice::install;
}

QString SparkleUpdateOperation::feedURLStringForUpdater() {
    return sparkleInfo.feedURL;
}

void SparkleUpdateOperation::showUpdatePermissionRequest(
    std::function<void(SparklePermissionResponse)> reply) {
    reply(SparklePermissionResponse{.automaticUpdateChecks = false, .sendSystemProfile = false});
}

void SparkleUpdateOperation::showUserInitiatedUpdateCheck(Action cancellation) {
    if (isOperationCancelled) {
        cancellation();
        return;
    }
    setState(UpdateState::initializing());
    cancellationCallback = std::move(cancellation);
}

void SparkleUpdateOperation::showUpdateFound(const SparkleAppcastItem&, SparkleUserUpdateState,
                                             std::function<void(SparkleUpdateChoice)> reply) {
    reply(installUnlessCancelled());
}

void SparkleUpdateOperation::showUpdateNotFound(const SparkleFrameworkError& error,
                                                Action acknowledgement) {
    finish(std::make_exception_ptr(error));
    acknowledgement();
}

void SparkleUpdateOperation::showUpdaterError(const SparkleFrameworkError& error,
                                              Action acknowledgement) {
    finish(std::make_exception_ptr(error));
    acknowledgement();
}

void SparkleUpdateOperation::showDownloadInitiated(Action cancellation) {
    if (isOperationCancelled) {
        cancellation();
        return;
    }
    cancellationCallback = std::move(cancellation);
}

void SparkleUpdateOperation::showDownloadDidReceiveExpectedContentLength(
    std::uint64_t expectedLength) {
    if (isOperationCancelled) {
        return;
    }
    expectedContentLength = expectedLength;
    receivedLength = 0;
    setState(UpdateState::downloading(0, static_cast<std::int64_t>(expectedLength)));
}

void SparkleUpdateOperation::showDownloadDidReceiveDataOfLength(std::uint64_t length) {
    if (isOperationCancelled) {
        return;
    }
    receivedLength += length;
    setState(UpdateState::downloading(static_cast<std::int64_t>(receivedLength),
                                      static_cast<std::int64_t>(expectedContentLength)));
}

void SparkleUpdateOperation::showDownloadDidStartExtractingUpdate() {
    if (isOperationCancelled) {
        return;
    }
    setState(UpdateState::extracting(0));
}

void SparkleUpdateOperation::showExtractionReceivedProgress(double progress) {
    if (isOperationCancelled) {
        return;
    }
    setState(UpdateState::extracting(progress));
}

void SparkleUpdateOperation::showReadyToInstallAndRelaunch(
    std::function<void(SparkleUpdateChoice)> reply) {
    reply(installUnlessCancelled());
}

void SparkleUpdateOperation::showInstallingUpdate(bool, Action) {
    if (isOperationCancelled) {
        return;
    }
    setState(UpdateState::installing());
}

void SparkleUpdateOperation::showUpdateInstalledAndRelaunched(bool, Action acknowledgement) {
    acknowledgement();
    finish();
}

// The driver shows nothing of its own.
void SparkleUpdateOperation::showUpdateReleaseNotes(const QByteArray&) {}
void SparkleUpdateOperation::showUpdateReleaseNotesFailedToDownload(const SparkleFrameworkError&) {}
void SparkleUpdateOperation::showUpdateInFocus() {}
void SparkleUpdateOperation::dismissUserInitiatedUpdateCheck() {}
void SparkleUpdateOperation::showSendingTerminationSignal() {}
void SparkleUpdateOperation::dismissUpdateInstallation() {}

}  // namespace tarnel
