#pragma once

#include "bundle_workshop.h"
#include "homebrew/brew_sandbox.h"
#include "loopback_certificates.h"
#include "loopback_https_server.h"
#include "support/fake_mas_state.h"

#include "core/logger.h"
#include "core/records/application.h"
#include "core/settings_store.h"
#include "discovery/discovery_service.h"
#include "discovery/exclusion_service.h"
#include "homebrew/cask_service.h"
#include "updates/mas_service.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>

// A machine for discovery runs: an applications folder of real bundles,
// fake-brew and fake-mas where the program looks for them, and the catalogue
// on a loopback HTTPS server. The services are made on first use, so a test
// may arrange the machine first.
class DiscoverySandbox {
public:
    DiscoverySandbox();

    // The catalogue is read from `path` at every request, so it may change.
    void serveCatalogueFile(const QString& path);
    void serveCatalogue(tarnel::ServedRoute route);
    void installCask(const QString& token, const QString& version = QStringLiteral("1.0"));
    // What `brew uninstall` leaves: the token is gone from the installed list.
    void uninstallCask(const QString& token);
    // Lets the lists of installed casks and store applications go stale.
    void outliveCaches();

    tarnel::DiscoveryService& discoveryService();
    tarnel::ExclusionService& exclusionService();
    tarnel::CaskService& caskService();
    tarnel::MASService& masService();
    // One run, recording every progress report in `reports`.
    QList<tarnel::Application> discover();
    std::optional<tarnel::Application> refresh(const tarnel::Application& application);

    // The server outlives the services, so that their closing connections
    // never leave it waiting on one that the client will not use again.
    QTemporaryDir serverFolder;
    tarnel::LoopbackCertificates certificates;
    tarnel::LoopbackHttpsServer server;
    BrewSandbox brew;
    BundleWorkshop bundles;
    FakeMasState mas;
    tarnel::SettingsStore settings;
    tarnel::Logger logger;
    QList<double> reports;

private:
    std::unique_ptr<tarnel::ExclusionService> exclusions;
    std::unique_ptr<tarnel::CaskService> casks;
    std::unique_ptr<tarnel::MASService> store;
    std::unique_ptr<tarnel::DiscoveryService> discovery;
};

// The application with this display name; fails the test when there is none.
tarnel::Application named(const QList<tarnel::Application>& applications,
                          const QString& displayName);
QStringList displayNames(const QList<tarnel::Application>& applications);
