#include "platform/appcast/appcast_update_session.h"

#include "core/async/cancellation_error.h"
#include "core/async/continuation.h"
#include "core/async/worker_pool.h"
#include "core/clock.h"
#include "platform/appcast/appcast.h"
#include "platform/appcast/appcast_driver_error.h"
#include "platform/appcast/appcast_selection.h"
#include "platform/appcast/appcast_skip_store.h"
#include "platform/appcast/appcast_xml_reader.h"
#include "platform/appcast/temporary_folder.h"
#include "platform/appcast/update_installer.h"
#include "platform/appcast/updater_error.h"
#include "platform/https_client.h"
#include "updates/sparkle_updater_delegate.h"

#include <QFileInfo>
#include <QMetaObject>

#include <utility>

namespace tarnel {

namespace {

// Archives larger than this are no application update.
constexpr qint64 maximumArchiveSize = qint64(4) * 1024 * 1024 * 1024;

const QByteArray feedAccept = QByteArrayLiteral("application/rss+xml,*/*;q=0.1");

// The file name the download is stored under: the enclosure's last path
// component, or a plain name when it has none that is safe.
QString downloadName(const QUrl& url) {
    const QString name = url.fileName();
    if (name.isEmpty() || name.startsWith(u'.') || name.size() > 255) {
        return QStringLiteral("update");
    }
    return name;
}

QString asciiOnly(const QString& text) {
    QString ascii;
    for (const QChar character : text) {
        if (character.unicode() > 0x20 && character.unicode() < 0x7f && character != u'/') {
            ascii.append(character);
        }
    }
    return ascii;
}

}  // namespace

AppcastUpdateSession::AppcastUpdateSession(QString hostBundlePath, BundleManifest host,
                                           SparkleUserDriver& driver,
                                           SparkleUpdaterDelegate& delegate, HttpsClient& client,
                                           const Clock& clock, AppcastEngineSettings settings)
    : hostBundlePath(std::move(hostBundlePath)),
      host(std::move(host)),
      driver(driver),
      delegate(delegate),
      client(client),
      clock(clock),
      settings(std::move(settings)) {}

void AppcastUpdateSession::start() {
    isRunning = true;
    (void)run(shared_from_this());
}

void AppcastUpdateSession::end() {
    isRunning = false;
    cancellationSource.cancel();
}

QCoro::Task<> AppcastUpdateSession::run(std::shared_ptr<AppcastUpdateSession> self) {
    try {
        co_await self->checkAndInstall();
    } catch (const CancellationError&) {
        // A cancel by the driver, or the updater gone: nothing to report.
    } catch (const AbandonedContinuationError&) {
        // The driver dropped a question without an answer.
    } catch (...) {
        self->report(std::current_exception());
    }
    if (self->isRunning) {
        self->isRunning = false;
        self->driver.dismissUpdateInstallation();
    }
}

SparkleUserDriver::Action AppcastUpdateSession::cancellation() {
    return [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->cancellationSource.cancel();
        }
    };
}

QByteArray AppcastUpdateSession::userAgent() const {
    const QString name =
        host.name.isEmpty() ? QFileInfo(hostBundlePath).completeBaseName() : host.name;
    return QStringLiteral("%1/%2 Sparkle/2.6")
        .arg(asciiOnly(name), asciiOnly(host.version))
        .toLatin1();
}

void AppcastUpdateSession::report(const std::exception_ptr& failure) {
    if (!isRunning) {
        return;
    }
    driver.showUpdaterError(driverError(failure), [] {});
}

QCoro::Task<> AppcastUpdateSession::checkAndInstall() {
    const CancellationToken token = cancellationSource.token();
    driver.showUserInitiatedUpdateCheck(cancellation());
    const QUrl feedURL(delegate.feedURLStringForUpdater());
    if (feedURL.scheme() != QLatin1String("https") || !feedURL.isValid()) {
        throw UpdaterError(UpdaterError::Code::insecureFeedURL,
                           QStringLiteral("The update feed must be fetched over HTTPS."));
    }
    HttpsRequest request;
    request.url = feedURL;
    request.headers = {{"Accept", feedAccept}, {"User-Agent", userAgent()}};
    request.maximumSize = maximumAppcastSize;
    request.unlabelledGzip = UnlabelledGzip::decode;
    const HttpsResponse response = co_await client.get(request, token);
    if (!isRunning) {
        co_return;
    }
    const QByteArray body = response.body;
    const QUrl finalURL = response.finalUrl;
    const QStringList languages = settings.preferredLanguages;
    const Appcast appcast = co_await runOnWorkerPool(
        [body, finalURL, languages] { return parseAppcast(body, finalURL, languages); });
    if (!isRunning) {
        co_return;
    }
    AppcastCheckContext context;
    context.hostVersion = host.version;
    context.systemVersion = settings.systemVersion;
    context.architecture = settings.architecture;
    context.now = clock.now();
    const AppcastSelection selection = selectUpdate(appcast.items, context);
    if (const auto* nothing = std::get_if<NoUpdateFound>(&selection)) {
        const QString hostName =
            host.name.isEmpty() ? QFileInfo(hostBundlePath).completeBaseName() : host.name;
        driver.showUpdateNotFound(driverError(std::make_exception_ptr(UpdaterError::noUpdateFound(
                                      *nothing, hostName, host.version))),
                                  [] {});
        co_return;
    }
    const UpdateFound& found = std::get<UpdateFound>(selection);
    const SparkleUpdateChoice choice = co_await askAboutUpdate(found.item, found.state);
    if (!isRunning || choice != SparkleUpdateChoice::install) {
        co_return;
    }
    if (found.installRefusal) {
        throw *found.installRefusal;
    }
    co_await install(found.item);
}

QCoro::Task<SparkleUpdateChoice> AppcastUpdateSession::askAboutUpdate(
    const AppcastItem& item, const AppcastItemState& state) {
    const SparkleAppcastItem offered = driverItem(item);
    const SparkleUpdateChoice choice = co_await suspendUntilResumed<SparkleUpdateChoice>(
        [&](ContinuationResumer<SparkleUpdateChoice> resumer) {
            driver.showUpdateFound(
                offered, {SparkleUpdateStage::notDownloaded, true},
                [resumer](SparkleUpdateChoice choice) { resumer.resume(choice); });
        });
    if (choice == SparkleUpdateChoice::skip) {
        // Kept even when the driver has ended the session meanwhile, and off
        // the main thread, since it waits on the disk.
        co_await runOnWorkerPool([skips = AppcastSkipStore(settings.dataDirectory),
                                  identifier = host.identifier, item, state] {
            try {
                skips.recordSkip(identifier, item, state);
            } catch (const std::exception&) {
                // A skip that cannot be kept only means the item is offered
                // again, which user checks do anyway.
            }
        });
    }
    co_return choice;
}

QCoro::Task<SparkleUpdateChoice> AppcastUpdateSession::askToInstall() {
    co_return co_await suspendUntilResumed<SparkleUpdateChoice>(
        [this](ContinuationResumer<SparkleUpdateChoice> resumer) {
            driver.showReadyToInstallAndRelaunch(
                [resumer](SparkleUpdateChoice choice) { resumer.resume(choice); });
        });
}

QCoro::Task<> AppcastUpdateSession::install(const AppcastItem& item) {
    const CancellationToken token = cancellationSource.token();
    auto work = std::make_shared<TemporaryFolder>(settings.temporaryDirectory,
                                                  QStringLiteral("tarnel-update"));
    const QUrl archiveURL = item.enclosure->url;
    const QString archivePath = work->filePath(downloadName(archiveURL));

    driver.showDownloadInitiated(cancellation());
    HttpsRequest request;
    request.url = archiveURL;
    request.headers = {{"User-Agent", userAgent()}};
    request.maximumSize = maximumArchiveSize;
    const auto announced = static_cast<std::uint64_t>(item.enclosure->contentLength);
    DownloadProgress progress;
    progress.onExpectedLength = [this, announced](std::optional<qint64> length) {
        if (!isRunning) {
            return;
        }
        driver.showDownloadDidReceiveExpectedContentLength(
            length ? static_cast<std::uint64_t>(*length) : announced);
    };
    progress.onDataReceived = [this](qint64 increment) {
        if (!isRunning) {
            return;
        }
        driver.showDownloadDidReceiveDataOfLength(static_cast<std::uint64_t>(increment));
    };
    const HttpsResponse response =
        co_await client.download(request, archivePath, std::move(progress), token);
    if (!isRunning) {
        co_return;
    }

    UpdateInstallRequest installRequest;
    installRequest.archivePath = archivePath;
    installRequest.downloadedName = QFileInfo(response.finalUrl.path()).fileName();
    installRequest.enclosureName = archiveURL.fileName();
    installRequest.edSignature = item.enclosure->edSignature;
    installRequest.announcedLength = announced;
    installRequest.installedPath = hostBundlePath;
    installRequest.bundleIdentifier = host.identifier;
    installRequest.workFolder = work->path();
    // The pool reports through the receiver, so that the driver hears of
    // the extraction on the main thread, in order, before the step ends.
    UpdateInstallObserver observer;
    QObject* const target = &receiver;
    observer.onExtractionStarted = [this, target] {
        QMetaObject::invokeMethod(target, [this] {
            if (isRunning) {
                driver.showDownloadDidStartExtractingUpdate();
            }
        });
    };
    observer.onExtractionProgress = [this, target](double fraction) {
        QMetaObject::invokeMethod(target, [this, fraction] {
            if (isRunning) {
                driver.showExtractionReceivedProgress(fraction);
            }
        });
    };
    const auto installer = std::make_shared<const UpdateInstaller>();
    auto prepared = std::make_shared<PreparedUpdate>(
        co_await runOnWorkerPool([installer, installRequest, observer, token] {
            return installer->prepare(installRequest, observer, token);
        }));
    if (!isRunning) {
        co_return;
    }
    if (co_await askToInstall() != SparkleUpdateChoice::install || !isRunning) {
        co_return;
    }
    // Nothing runs the other application here, so it counts as terminated.
    driver.showInstallingUpdate(true, [] {});
    co_await runOnWorkerPool(
        [installer, prepared, token] { installer->install(std::move(*prepared), {}, token); });
    if (!isRunning) {
        co_return;
    }
    driver.showUpdateInstalledAndRelaunched(false, [] {});
}

}  // namespace tarnel
