#include "catalogue_sandbox.h"

#include "homebrew/brew_error.h"
#include "platform/https_error.h"
#include "support/await.h"
#include "support/test_paths.h"

#include <QFile>
#include <QTcpServer>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

QString catalogueFile() {
    return sharedDir() + QStringLiteral("/data/catalogue.json");
}

QByteArray catalogueBytes() {
    QFile file(catalogueFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

BrewError brewErrorOf(BrewSandbox& sandbox) {
    try {
        await(sandbox.brewService().fetchCaskCatalogue());
    } catch (const BrewError& error) {
        return error;
    }
    ADD_FAILURE() << "the fetch did not fail with a BrewError";
    return BrewError::homebrewNotFound();
}

// The kind of network failure the fetch ends in.
HttpsError::Kind httpsErrorKindOf(BrewSandbox& sandbox) {
    try {
        await(sandbox.brewService().fetchCaskCatalogue());
    } catch (const HttpsError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "the fetch did not fail with an HttpsError";
    return HttpsError::Kind::notHttps;
}

}  // namespace

TEST(BrewCatalogueFetch, ReturnsTheBodyOfAGzippedAnswer) {
    CatalogueSandbox sandbox;
    sandbox.server.setRoute(cataloguePath(), ServedRoute::file(catalogueFile()));
    EXPECT_EQ(await(sandbox.brewService().fetchCaskCatalogue()), catalogueBytes());
    const QList<ServedRequest> served = sandbox.server.servedRequests();
    ASSERT_EQ(served.size(), 1);
    EXPECT_TRUE(served.first().acceptEncoding.contains("gzip"));
    EXPECT_EQ(served.first().contentEncoding, QByteArray("gzip"));
    EXPECT_TRUE(sandbox.capture.contains(LogLevel::info,
                                         QStringLiteral("Fetching casks from Homebrew API")));
}

TEST(BrewCatalogueFetch, ReturnsTheBodyOfAnUncompressedAnswer) {
    CatalogueSandbox sandbox;
    ServedRoute route = ServedRoute::bytes("[{\"token\":\"firefox\",\"version\":\"1.0\"}]");
    route.isCompressible = false;
    sandbox.server.setRoute(cataloguePath(), route);
    EXPECT_EQ(await(sandbox.brewService().fetchCaskCatalogue()),
              QByteArray("[{\"token\":\"firefox\",\"version\":\"1.0\"}]"));
    EXPECT_TRUE(sandbox.server.servedRequests().value(0).contentEncoding.isEmpty());
}

TEST(BrewCatalogueFetch, ReturnsAnEmptyBodyOfStatus200) {
    CatalogueSandbox sandbox;
    sandbox.server.setRoute(cataloguePath(), ServedRoute::bytes(QByteArray()));
    EXPECT_TRUE(await(sandbox.brewService().fetchCaskCatalogue()).isEmpty());
}

TEST(BrewCatalogueFetch, StatusOtherThan200IsApiRequestFailed) {
    for (const int status : {201, 404, 500}) {
        CatalogueSandbox sandbox;
        sandbox.server.setRoute(cataloguePath(), ServedRoute::bytes("[]", status));
        const BrewError error = brewErrorOf(sandbox);
        EXPECT_EQ(error.kind(), BrewError::Kind::apiRequestFailed) << status;
        EXPECT_EQ(error.description(), QStringLiteral("Failed to fetch data from Homebrew API"));
    }
}

TEST(BrewCatalogueFetch, UntrustedCertificateIsATlsError) {
    CatalogueSandbox sandbox;
    sandbox.server.setRoute(cataloguePath(), ServedRoute::bytes("[]"));
    sandbox.layout.extraTrustedCertificates.clear();
    EXPECT_EQ(httpsErrorKindOf(sandbox), HttpsError::Kind::tls);
    EXPECT_TRUE(sandbox.server.servedRequests().isEmpty());
}

TEST(BrewCatalogueFetch, RefusedConnectionIsAConnectionError) {
    CatalogueSandbox sandbox;
    sandbox.server.stop();
    EXPECT_EQ(httpsErrorKindOf(sandbox), HttpsError::Kind::connection);
}

TEST(BrewCatalogueFetch, UrlThatCannotBeBuiltIsInvalidApiUrl) {
    BrewSandbox sandbox;
    sandbox.layout.catalogueUrl = QUrl(QStringLiteral("https://exa mple.com:port/api"));
    EXPECT_EQ(brewErrorOf(sandbox).kind(), BrewError::Kind::invalidAPIURL);
    EXPECT_EQ(BrewError::invalidAPIURL().description(), QStringLiteral("Invalid Homebrew API URL"));
}

TEST(BrewCatalogueFetch, PlainHttpUrlIsInvalidApiUrl) {
    BrewSandbox sandbox;
    sandbox.layout.catalogueUrl = QUrl(QStringLiteral("http://127.0.0.1:1/api/cask.json"));
    EXPECT_EQ(brewErrorOf(sandbox).kind(), BrewError::Kind::invalidAPIURL);
}

TEST(BrewCatalogueFetch, OverlappingCallsEachDownloadAndLogTheirFetch) {
    CatalogueSandbox sandbox;
    sandbox.server.setRoute(cataloguePath(), ServedRoute::file(catalogueFile()));
    // Both calls start before the event loop runs, so the second begins while
    // the first still waits for its answer.
    auto first = sandbox.brewService().fetchCaskCatalogue();
    auto second = sandbox.brewService().fetchCaskCatalogue();
    EXPECT_EQ(await(std::move(first)), catalogueBytes());
    EXPECT_EQ(await(std::move(second)), catalogueBytes());
    EXPECT_EQ(sandbox.catalogueRequestCount(), 2);
    EXPECT_EQ(
        sandbox.capture.lines().count(QStringLiteral("[INFO] Fetching casks from Homebrew API")),
        2);
}

TEST(BrewCatalogueFetch, ServerThatAcceptsAndNeverAnswersEndsInATimeOut) {
    BrewSandbox sandbox;
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    sandbox.layout.catalogueUrl =
        QUrl(QStringLiteral("https://127.0.0.1:%1/api/cask.json").arg(silent.serverPort()));
    sandbox.layout.networkIdleTimeout = std::chrono::milliseconds(300);
    EXPECT_EQ(httpsErrorKindOf(sandbox), HttpsError::Kind::timedOut);
}

TEST(BrewCatalogueFetch, ServerThatStallsMidBodyEndsInATimeOut) {
    CatalogueSandbox sandbox;
    ServedRoute route = ServedRoute::file(catalogueFile());
    route.isCompressible = false;
    route.stall = ServedRoute::Stall::afterBodyBytes;
    route.stallAfterBytes = 64 * 1024;
    sandbox.server.setRoute(cataloguePath(), route);
    sandbox.layout.networkIdleTimeout = std::chrono::milliseconds(300);
    EXPECT_EQ(httpsErrorKindOf(sandbox), HttpsError::Kind::timedOut);
    EXPECT_EQ(sandbox.catalogueRequestCount(), 1);
}
