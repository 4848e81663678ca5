#include "discovery_sandbox.h"

#include "support/await.h"
#include "test_catalogue.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <algorithm>

using namespace tarnel;

namespace {

const QString cataloguePath = QStringLiteral("/api/cask.json");

}  // namespace

DiscoverySandbox::DiscoverySandbox()
    : certificates(LoopbackCertificates::create(serverFolder.path())),
      server(certificates),
      mas(brew.path(QStringLiteral("mas-state"))),
      settings(brew.path(QStringLiteral("discovery-settings.json"))),
      logger(brew.capture.sink(), settings, brew.path(QStringLiteral("Desktop"))) {
    if (!server.start()) {
        ADD_FAILURE() << "the loopback server did not start";
    }
    QUrl url = server.baseUrl();
    url.setPath(cataloguePath);
    brew.layout.catalogueUrl = url;
    brew.layout.extraTrustedCertificates = certificates.authorityCertificate;
    brew.layout.applicationsDirectory = bundles.root();
    brew.state.setApplicationsDirectory(bundles.root());
    brew.installBrew();
    const QString masPath = brew.path(QStringLiteral("opt/homebrew/bin/mas"));
    brew.layout.masCandidates = {masPath, brew.path(QStringLiteral("usr/local/bin/mas"))};
    mas.installTool(masPath);
    serveCatalogueFile(sharedCatalogueFile());
}

void DiscoverySandbox::serveCatalogueFile(const QString& path) {
    serveCatalogue(ServedRoute::file(path));
}

void DiscoverySandbox::serveCatalogue(ServedRoute route) {
    server.setRoute(cataloguePath, std::move(route));
}

void DiscoverySandbox::installCask(const QString& token, const QString& version) {
    brew.state.setInstalledVersion(token, version);
}

void DiscoverySandbox::uninstallCask(const QString& token) {
    // Written behind FakeBrewState's back, as the real uninstall would change
    // the installation behind the program's.
    QFile file(QDir(brew.state.folder()).filePath(QStringLiteral("installed.json")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QJsonObject installed = QJsonDocument::fromJson(file.readAll()).object();
    file.close();
    installed.remove(token);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QJsonDocument(installed).toJson());
}

void DiscoverySandbox::outliveCaches() {
    brew.clock.advance(301);
}

ExclusionService& DiscoverySandbox::exclusionService() {
    if (!exclusions) {
        exclusions = std::make_unique<ExclusionService>(logger, settings);
    }
    return *exclusions;
}

CaskService& DiscoverySandbox::caskService() {
    if (!casks) {
        casks = std::make_unique<CaskService>(logger, brew.brewService(), brew.clock,
                                              CaskLocations::of(brew.layout));
    }
    return *casks;
}

MASService& DiscoverySandbox::masService() {
    if (!store) {
        store = std::make_unique<MASService>(logger, brew.layout, brew.clock);
    }
    return *store;
}

DiscoveryService& DiscoverySandbox::discoveryService() {
    if (!discovery) {
        discovery = std::make_unique<DiscoveryService>(logger, exclusionService(), caskService(),
                                                       masService(), settings, brew.layout);
    }
    return *discovery;
}

QList<Application> DiscoverySandbox::discover() {
    reports.clear();
    return await(discoveryService().discoverApplications([this](double fraction) -> QCoro::Task<> {
        reports.append(fraction);
        co_return;
    }));
}

std::optional<Application> DiscoverySandbox::refresh(const Application& application) {
    return await(discoveryService().refreshApplication(application));
}

Application named(const QList<Application>& applications, const QString& displayName) {
    const auto found = std::find_if(
        applications.begin(), applications.end(),
        [&](const Application& application) { return application.displayName == displayName; });
    if (found == applications.end()) {
        ADD_FAILURE() << "no application named " << displayName.toStdString();
        return {};
    }
    return *found;
}

QStringList displayNames(const QList<Application>& applications) {
    QStringList names;
    for (const Application& application : applications) {
        names.append(application.displayName);
    }
    names.sort();
    return names;
}
