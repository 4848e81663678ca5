#pragma once

#include "bundle_version.h"
#include "feed_signing_key.h"
#include "homebrew/brew_sandbox.h"
#include "loopback_certificates.h"
#include "loopback_https_server.h"
#include "support/fake_brew_state.h"
#include "support/fake_mas_state.h"

#include "core/async/task_handle.h"
#include "core/logger.h"
#include "core/records/application.h"
#include "core/records/update_state.h"
#include "core/settings_store.h"
#include "platform/appcast/appcast_updater_factory.h"
#include "platform/https_client.h"
#include "updates/mas_service.h"
#include "updates/skip_update_service.h"
#include "updates/sparkle_service.h"
#include "updates/update_service.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

// Who signed the archive a feed offers.
enum class FeedSigner { publisher, anotherKey };

// A machine for update runs: application bundles in a temporary applications
// folder, fake-brew and fake-mas where the program looks for them, update
// feeds signed by their publisher on a loopback HTTPS server, a settings file
// and a clock that moves only when told. The services are made on first use,
// so that a test may arrange the machine first; each `add` gives the record
// that discovery would make of the bundle.
class UpdateSandbox {
public:
    UpdateSandbox();
    ~UpdateSandbox();
    UpdateSandbox(const UpdateSandbox&) = delete;
    UpdateSandbox& operator=(const UpdateSandbox&) = delete;

    // A hand-installed bundle "{name}.app" with identifier "org.example.{name}".
    tarnel::Application addApplication(const QString& name, const tarnel::BundleVersion& version);
    // The catalogue lists cask `token` at `version`, installing "{appName}.app".
    void publishCask(const QString& token, const QString& version, const QString& appName);
    // `brew` counts `token` as installed at `version`.
    void installCask(const QString& token, const QString& version);
    // The application as discovery gives it once Homebrew manages it through `token`.
    static void adopt(tarnel::Application& application, const QString& token);
    // A bundle at `installed` that cask `token` manages, whose cask is at `available`.
    tarnel::Application addCaskApplication(const QString& name, const QString& token,
                                           const QString& installed, const QString& available);

    // Gives the application a feed of its own that offers `available` as a
    // signed zip archive, and names the feed and the key in its Info.plist.
    void publishFeed(tarnel::Application& application, const tarnel::BundleVersion& available,
                     FeedSigner signer = FeedSigner::publisher);
    // A hand-installed bundle at `installed` whose feed offers `available`.
    tarnel::Application addFeedApplication(const QString& name,
                                           const tarnel::BundleVersion& installed,
                                           const tarnel::BundleVersion& available);

    // A bundle from the store with id `storeId`, and a pending update to
    // `available` unless it is empty.
    tarnel::Application addStoreApplication(const QString& name, const QString& storeId,
                                            const QString& installed, const QString& available);
    void setStoreSupport(bool isEnabled);
    // Takes `mas` away from where the program looks for it.
    void removeMas();

    // The `mas` runs whose first argument is `command`, in the order they ended.
    QList<FakeMasState::Invocation> masRuns(const QString& command) const;
    // How often the application's feed was asked for.
    qsizetype feedRequests(const tarnel::Application& application) const;
    // The versions the bundle's Info.plist holds now.
    static tarnel::BundleVersion bundleVersion(const tarnel::Application& application);
    // Every captured log line, formatted: "[INFO] ...".
    QStringList logLines() const;
    // How many captured lines are exactly `line`.
    qsizetype logCount(const QString& line) const;
    // Waits until the feed service has been cleared, which the update
    // service leaves to the event loop.
    bool waitForTheFeedServiceToClear() const;

    tarnel::BrewService& brewService();
    tarnel::CaskService& caskService();
    tarnel::MASService& masService();
    tarnel::SparkleService& sparkleService();
    tarnel::SkipUpdateService& skipUpdateService();
    tarnel::UpdateService& updateService();

    // The server outlives the services, so that their closing connections
    // never leave it waiting on one that the client will not use again.
    QTemporaryDir serverFolder;
    tarnel::LoopbackCertificates certificates;
    tarnel::LoopbackHttpsServer server;
    // The machine's folders, fake-brew, the clock, the log capture, and the
    // `brew` runner and the cask service over them.
    BrewSandbox brew;
    FakeMasState mas;
    tarnel::SettingsStore settings;
    tarnel::Logger logger;
    tarnel::FeedSigningKey publisher;

private:
    QString feedPath(const tarnel::Application& application) const;
    // Writes a bundle "{name}.app" under `folder` at `version`, with these
    // further Info.plist texts, and gives its path.
    static QString writeBundle(const QString& folder, const QString& name,
                               const tarnel::BundleVersion& version,
                               const QMap<QString, QString>& texts);

    std::unique_ptr<tarnel::HttpsClient> feedClient;
    std::unique_ptr<tarnel::AppcastUpdaterFactory> updaterFactory;
    std::unique_ptr<tarnel::SparkleService> sparkle;
    std::unique_ptr<tarnel::SkipUpdateService> skips;
    std::unique_ptr<tarnel::MASService> store;
    std::unique_ptr<tarnel::UpdateService> updates;
};

// A log line as the capture holds it.
QString infoLine(const QString& message);
QString warningLine(const QString& message);
QString errorLine(const QString& message);

// Whether `expected` stand among `lines` in this order, with other lines allowed between.
testing::AssertionResult containsInOrder(const QStringList& lines, const QStringList& expected);

// Runs the event loop until `condition` holds. False only when it still does
// not after a limit that only a fault reaches.
bool waitUntil(const std::function<bool()>& condition);

// Runs `operation` as the body of a task of its own, as a caller that may be
// cancelled runs it; the task ignores its cancellation.
template <typename Operation>
auto startTask(Operation operation) {
    using Result = typename decltype(operation())::value_type;
    return tarnel::TaskHandle<Result>::start(
        [operation = std::move(operation)](const tarnel::CancellationToken&) {
            return operation();
        });
}

// A progress handler that keeps every state it is told.
tarnel::ProgressHandler recordStates(QList<tarnel::UpdateState>& states);
