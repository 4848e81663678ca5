#include "core/async/cancellation_error.h"
#include "core/async/cancellation_source.h"
#include "core/async/task_handle.h"
#include "https_sandbox.h"
#include "https_test_support.h"

#include <QTcpServer>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

const QString feedPath = QStringLiteral("/feed.xml");

ServedRoute uncompressed(QByteArray body) {
    ServedRoute route = ServedRoute::bytes(std::move(body));
    route.isCompressible = false;
    return route;
}

// Gzipped for a client that accepts it, without saying so.
ServedRoute unlabelledGzip(QByteArray body) {
    ServedRoute route = ServedRoute::bytes(std::move(body));
    route.labelsEncoding = false;
    return route;
}

QStringList servedPaths(const HttpsSandbox& sandbox) {
    QStringList paths;
    for (const ServedRequest& request : sandbox.server.servedRequests()) {
        paths.append(request.path);
    }
    return paths;
}

// Routes "/hop/0" to "/hop/1" and so on, `count` redirects in all, to the
// feed at the last hop.
void serveRedirectChain(HttpsSandbox& sandbox, int count) {
    for (int hop = 0; hop < count; ++hop) {
        sandbox.server.setRoute(QStringLiteral("/hop/%1").arg(hop),
                                ServedRoute::redirect("/hop/" + QByteArray::number(hop + 1)));
    }
    sandbox.server.setRoute(QStringLiteral("/hop/%1").arg(count), ServedRoute::bytes(feedText()));
}

}  // namespace

TEST(HttpsClient, RefusesAnHttpUrlBeforeAnyRequest) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    QUrl url = sandbox.url(feedPath);
    url.setScheme(QStringLiteral("http"));
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(requestOf(url))).kind(),
              HttpsError::Kind::notHttps);
    EXPECT_TRUE(sandbox.server.servedRequests().isEmpty());
}

TEST(HttpsClient, GivesTheBodyStatusTypeAndUrlOfTheAnswer) {
    HttpsSandbox sandbox;
    ServedRoute route = uncompressed(feedText());
    route.contentType = "application/rss+xml";
    sandbox.server.setRoute(feedPath, route);
    const HttpsResponse response = await(sandbox.client().get(requestOf(sandbox.url(feedPath))));
    EXPECT_EQ(response.body, feedText());
    EXPECT_EQ(response.size, feedText().size());
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.contentType, QByteArray("application/rss+xml"));
    EXPECT_EQ(response.finalUrl, sandbox.url(feedPath));
}

TEST(HttpsClient, SendsTheCallersHeaders) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    HttpsRequest request = requestOf(sandbox.url(feedPath));
    request.headers = {{"Accept", "application/rss+xml,*/*;q=0.1"},
                       {"User-Agent", "Tarnel/0.1 Sparkle/2.6.4"}};
    await(sandbox.client().get(request));
    const QList<ServedRequest> served = sandbox.server.servedRequests();
    ASSERT_EQ(served.size(), 1);
    EXPECT_EQ(served.first().headers.value("accept"), QByteArray("application/rss+xml,*/*;q=0.1"));
    EXPECT_EQ(served.first().headers.value("user-agent"), QByteArray("Tarnel/0.1 Sparkle/2.6.4"));
}

TEST(HttpsClient, FollowsARedirectFromHttpsToHttps) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(QStringLiteral("/old"),
                            ServedRoute::redirect(sandbox.url(feedPath).toEncoded()));
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    const HttpsResponse response =
        await(sandbox.client().get(requestOf(sandbox.url(QStringLiteral("/old")))));
    EXPECT_EQ(response.body, feedText());
    EXPECT_EQ(response.finalUrl, sandbox.url(feedPath));
    EXPECT_EQ(servedPaths(sandbox), (QStringList{QStringLiteral("/old"), feedPath}));
}

TEST(HttpsClient, FollowsARelativeRedirectOnTheSameServer) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(QStringLiteral("/old"), ServedRoute::redirect("/feed.xml", 301));
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    const HttpsResponse response =
        await(sandbox.client().get(requestOf(sandbox.url(QStringLiteral("/old")))));
    EXPECT_EQ(response.body, feedText());
    EXPECT_EQ(response.finalUrl, sandbox.url(feedPath));
}

TEST(HttpsClient, RefusesARedirectFromHttpsToHttp) {
    HttpsSandbox sandbox;
    QUrl insecure = sandbox.url(feedPath);
    insecure.setScheme(QStringLiteral("http"));
    sandbox.server.setRoute(QStringLiteral("/old"), ServedRoute::redirect(insecure.toEncoded()));
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    EXPECT_EQ(
        httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(QStringLiteral("/old"))))).kind(),
        HttpsError::Kind::insecureRedirect);
    EXPECT_EQ(servedPaths(sandbox), QStringList{QStringLiteral("/old")});
}

TEST(HttpsClient, RefusesARedirectToALocalFile) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(QStringLiteral("/old"), ServedRoute::redirect("file:///etc/passwd"));
    EXPECT_EQ(
        httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(QStringLiteral("/old"))))).kind(),
        HttpsError::Kind::insecureRedirect);
}

TEST(HttpsClient, FollowsTenRedirectsInARow) {
    HttpsSandbox sandbox;
    serveRedirectChain(sandbox, 10);
    const HttpsResponse response =
        await(sandbox.client().get(requestOf(sandbox.url(QStringLiteral("/hop/0")))));
    EXPECT_EQ(response.body, feedText());
    EXPECT_EQ(response.finalUrl, sandbox.url(QStringLiteral("/hop/10")));
}

TEST(HttpsClient, RefusesAnEleventhRedirect) {
    HttpsSandbox sandbox;
    serveRedirectChain(sandbox, 11);
    EXPECT_EQ(
        httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(QStringLiteral("/hop/0"))))).kind(),
        HttpsError::Kind::tooManyRedirects);
    EXPECT_EQ(sandbox.server.servedRequests().size(), 11);
    EXPECT_FALSE(servedPaths(sandbox).contains(QStringLiteral("/hop/11")));
}

TEST(HttpsClient, StatusOutsideTheSuccessRangeIsAnHttpStatusError) {
    for (const int status : {404, 500}) {
        HttpsSandbox sandbox;
        sandbox.server.setRoute(feedPath, ServedRoute::bytes("gone", status));
        const HttpsError error =
            httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath))));
        EXPECT_EQ(error.kind(), HttpsError::Kind::httpStatus) << status;
        EXPECT_EQ(error.status(), status);
    }
}

namespace {

// What Qt itself reports while a test runs.
QStringList networkLayerWarnings;

void keepNetworkLayerWarning(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type != QtDebugMsg) {
        networkLayerWarnings.append(message);
    }
}

}  // namespace

TEST(HttpsClient, RefusesAnErrorStatusWithoutUpsettingTheNetworkLayer) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes("gone", 404));
    networkLayerWarnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(keepNetworkLayerWarning);
    const HttpsError error = httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath))));
    qInstallMessageHandler(previous);
    EXPECT_EQ(error.kind(), HttpsError::Kind::httpStatus);
    EXPECT_EQ(networkLayerWarnings, QStringList());
}

TEST(HttpsClient, ManyRefusedAnswersAndRedirectsSideBySideLeaveTheNetworkLayerQuiet) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes("gone", 404));
    sandbox.server.setRoute(QStringLiteral("/moved"), ServedRoute::redirect("/feed-elsewhere"));
    sandbox.server.setRoute(QStringLiteral("/feed-elsewhere"), ServedRoute::bytes(feedText()));
    networkLayerWarnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(keepNetworkLayerWarning);
    QList<TaskHandle<HttpsResponse>> requests;
    for (int index = 0; index < 24; ++index) {
        const QUrl url = sandbox.url(index % 2 == 0 ? feedPath : QStringLiteral("/moved"));
        requests.append(TaskHandle<HttpsResponse>::start(
            [&sandbox, url](auto) { return sandbox.client().get(requestOf(url)); }));
    }
    int refused = 0;
    for (const TaskHandle<HttpsResponse>& request : requests) {
        try {
            EXPECT_EQ(await(request.result()).status, 200);
        } catch (const HttpsError& error) {
            EXPECT_EQ(error.status(), 404);
            ++refused;
        }
    }
    qInstallMessageHandler(previous);
    EXPECT_EQ(refused, 12);
    EXPECT_EQ(networkLayerWarnings, QStringList());
}

TEST(HttpsClient, RefusedAnswerWithABodyOverTheLimitStillEndsWithItsStatus) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(QByteArray(4 * 1024 * 1024, 'x'), 500));
    const HttpsError error =
        httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath), 64 * 1024)));
    EXPECT_EQ(error.kind(), HttpsError::Kind::httpStatus);
    EXPECT_EQ(error.status(), 500);
}

TEST(HttpsClient, UntrustedCertificateIsATlsError) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    sandbox.layout.extraTrustedCertificates.clear();
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath)))).kind(),
              HttpsError::Kind::tls);
    EXPECT_TRUE(sandbox.server.servedRequests().isEmpty());
}

TEST(HttpsClient, RefusedConnectionIsAConnectionError) {
    HttpsSandbox sandbox;
    const QUrl url = sandbox.url(feedPath);
    sandbox.server.stop();
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(requestOf(url))).kind(),
              HttpsError::Kind::connection);
}

TEST(HttpsClient, DecodesAGzipBodyNamedByItsHeader) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    EXPECT_EQ(await(sandbox.client().get(requestOf(sandbox.url(feedPath)))).body, feedText());
    EXPECT_EQ(sandbox.server.servedRequests().value(0).contentEncoding, QByteArray("gzip"));
}

TEST(HttpsClient, DecodesAGzipBodyWithoutItsHeaderWhenAsked) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, unlabelledGzip(feedText()));
    HttpsRequest request = requestOf(sandbox.url(feedPath));
    request.unlabelledGzip = UnlabelledGzip::decode;
    EXPECT_EQ(await(sandbox.client().get(request)).body, feedText());
    EXPECT_EQ(sandbox.server.servedRequests().value(0).contentEncoding, QByteArray("gzip"));
}

TEST(HttpsClient, KeepsAGzipBodyWithoutItsHeaderByDefault) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, unlabelledGzip(feedText()));
    const QByteArray body = await(sandbox.client().get(requestOf(sandbox.url(feedPath)))).body;
    EXPECT_TRUE(body.startsWith("\x1f\x8b"));
    EXPECT_LT(body.size(), feedText().size());
}

TEST(HttpsClient, AGzipBodyCutShortIsABadEncoding) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, unlabelledGzip(feedText()));
    const QByteArray gzip = await(sandbox.client().get(requestOf(sandbox.url(feedPath)))).body;
    sandbox.server.setRoute(QStringLiteral("/cut.xml"), uncompressed(gzip.first(gzip.size() / 2)));
    HttpsRequest request = requestOf(sandbox.url(QStringLiteral("/cut.xml")));
    request.unlabelledGzip = UnlabelledGzip::decode;
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(request)).kind(), HttpsError::Kind::badEncoding);
}

TEST(HttpsClient, AcceptsAPlainBodyOfExactlyItsCap) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, uncompressed(QByteArray(1000, 'x')));
    EXPECT_EQ(await(sandbox.client().get(requestOf(sandbox.url(feedPath), 1000))).size, 1000);
}

TEST(HttpsClient, RefusesAPlainBodyLargerThanItsCap) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, uncompressed(QByteArray(1001, 'x')));
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath), 1000))).kind(),
              HttpsError::Kind::tooLarge);
}

TEST(HttpsClient, RefusesAGzipBodyThatDecodesBeyondItsCap) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(QByteArray(4 * 1024 * 1024, 'a')));
    EXPECT_EQ(
        httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath), 1024 * 1024))).kind(),
        HttpsError::Kind::tooLarge);
    EXPECT_EQ(sandbox.server.servedRequests().value(0).contentEncoding, QByteArray("gzip"));
}

TEST(HttpsClient, RefusesAGzipBodyWithoutItsHeaderThatDecodesBeyondItsCap) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, unlabelledGzip(QByteArray(4 * 1024 * 1024, 'a')));
    HttpsRequest request = requestOf(sandbox.url(feedPath), 1024 * 1024);
    request.unlabelledGzip = UnlabelledGzip::decode;
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(request)).kind(), HttpsError::Kind::tooLarge);
}

TEST(HttpsClient, EndsAConnectionThatNeverAnswersInATimeOut) {
    HttpsSandbox sandbox;
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    sandbox.layout.networkIdleTimeout = std::chrono::milliseconds(300);
    const QUrl url(QStringLiteral("https://127.0.0.1:%1/feed.xml").arg(silent.serverPort()));
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(requestOf(url))).kind(),
              HttpsError::Kind::timedOut);
}

TEST(HttpsClient, EndsAServerThatStallsBeforeItsHeadersInATimeOut) {
    HttpsSandbox sandbox;
    ServedRoute route = ServedRoute::bytes(feedText());
    route.stall = ServedRoute::Stall::beforeHeaders;
    sandbox.server.setRoute(feedPath, route);
    sandbox.layout.networkIdleTimeout = std::chrono::milliseconds(300);
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath)))).kind(),
              HttpsError::Kind::timedOut);
    EXPECT_EQ(sandbox.server.servedRequests().size(), 1);
}

TEST(HttpsClient, EndsABodyThatStallsMidwayInATimeOut) {
    HttpsSandbox sandbox;
    ServedRoute route = uncompressed(QByteArray(1024 * 1024, 'x'));
    route.stall = ServedRoute::Stall::afterBodyBytes;
    route.stallAfterBytes = 64 * 1024;
    sandbox.server.setRoute(feedPath, route);
    sandbox.layout.networkIdleTimeout = std::chrono::milliseconds(300);
    EXPECT_EQ(httpsErrorOf(sandbox.client().get(requestOf(sandbox.url(feedPath)))).kind(),
              HttpsError::Kind::timedOut);
}

TEST(HttpsClient, ATokenCancelledBeforehandSendsNothing) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(feedPath, ServedRoute::bytes(feedText()));
    CancellationSource cancellation;
    cancellation.cancel();
    EXPECT_THROW(
        await(sandbox.client().get(requestOf(sandbox.url(feedPath)), cancellation.token())),
        CancellationError);
    EXPECT_TRUE(sandbox.server.servedRequests().isEmpty());
}

TEST(HttpsClient, CancellingFromAnotherThreadEndsAWaitingRequest) {
    HttpsSandbox sandbox;
    ServedRoute route = ServedRoute::bytes(feedText());
    route.stall = ServedRoute::Stall::beforeHeaders;
    sandbox.server.setRoute(feedPath, route);
    CancellationSource cancellation;
    // The server's thread cancels once the request has reached it, while the
    // client waits for an answer that never comes.
    sandbox.server.setRequestObserver(
        [&cancellation](const ServedRequest&) { cancellation.cancel(); });
    EXPECT_THROW(
        await(sandbox.client().get(requestOf(sandbox.url(feedPath)), cancellation.token())),
        CancellationError);
}
