#include "core/async/cancellation_error.h"
#include "core/async/cancellation_source.h"
#include "https_sandbox.h"
#include "https_test_support.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

using namespace tarnel;

namespace {

const QString archivePath = QStringLiteral("/App-2.0.zip");
constexpr qint64 megabyte = 1024 * 1024;

// A file of pseudo-random bytes, which no compression shrinks.
QString writeArchive(const HttpsSandbox& sandbox, qint64 size) {
    const QString path = sandbox.path(QStringLiteral("served.zip"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        ADD_FAILURE() << "cannot write " << path.toStdString();
        return path;
    }
    quint64 state = 0x9e3779b97f4a7c15ULL;
    QByteArray block(megabyte, Qt::Uninitialized);
    for (qint64 written = 0; written < size; written += block.size()) {
        for (char& byte : block) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            byte = static_cast<char>(state);
        }
        file.write(block.constData(), std::min<qint64>(block.size(), size - written));
    }
    return path;
}

QByteArray sha256Of(const QString& path) {
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) {
        ADD_FAILURE() << "cannot hash " << path.toStdString();
    }
    return hash.result();
}

ServedRoute archiveRoute(const QString& file) {
    ServedRoute route = ServedRoute::file(file);
    route.isCompressible = false;
    route.contentType = "application/zip";
    return route;
}

}  // namespace

TEST(HttpsDownload, StreamsA50MegabyteBodyIntoTheFileAsItArrives) {
    HttpsSandbox sandbox;
    const qint64 size = 50 * megabyte;
    const QString served = writeArchive(sandbox, size);
    sandbox.server.setRoute(archivePath, archiveRoute(served));
    const QString destination = sandbox.path(QStringLiteral("download.zip"));

    QList<std::optional<qint64>> expectedLengths;
    qint64 total = 0;
    qint64 largestIncrement = 0;
    bool isEveryIncrementInTheFile = true;
    DownloadProgress progress;
    progress.onExpectedLength = [&](std::optional<qint64> length) {
        expectedLengths.append(length);
    };
    progress.onDataReceived = [&](qint64 increment) {
        total += increment;
        largestIncrement = std::max(largestIncrement, increment);
        isEveryIncrementInTheFile =
            isEveryIncrementInTheFile && QFileInfo(destination).size() == total;
    };
    const HttpsResponse response = await(sandbox.client().download(
        requestOf(sandbox.url(archivePath), 64 * megabyte), destination, progress));

    EXPECT_EQ(response.size, size);
    EXPECT_TRUE(response.body.isEmpty());
    EXPECT_EQ(response.contentType, QByteArray("application/zip"));
    EXPECT_EQ(expectedLengths, (QList<std::optional<qint64>>{size}));
    EXPECT_EQ(total, size);
    // Each piece is on disk when it is reported, and no piece is more than a
    // small part of the body: the body never gathers in memory.
    EXPECT_TRUE(isEveryIncrementInTheFile);
    EXPECT_LE(largestIncrement, megabyte);
    EXPECT_EQ(sha256Of(destination), sha256Of(served));
}

TEST(HttpsDownload, CancellingMidwayRemovesThePartialFile) {
    HttpsSandbox sandbox;
    const QString served = writeArchive(sandbox, 4 * megabyte);
    ServedRoute route = archiveRoute(served);
    // The rest never comes, so the download is still running at the cancel.
    route.stall = ServedRoute::Stall::afterBodyBytes;
    route.stallAfterBytes = megabyte;
    sandbox.server.setRoute(archivePath, route);
    const QString destination = sandbox.path(QStringLiteral("download.zip"));
    CancellationSource cancellation;
    qint64 received = 0;
    DownloadProgress progress;
    progress.onDataReceived = [&](qint64 increment) {
        received += increment;
        cancellation.cancel();
    };
    EXPECT_THROW(await(sandbox.client().download(requestOf(sandbox.url(archivePath), 8 * megabyte),
                                                 destination, progress, cancellation.token())),
                 CancellationError);
    EXPECT_GT(received, 0);
    EXPECT_FALSE(QFileInfo::exists(destination));
}

TEST(HttpsDownload, AStalledDownloadEndsInATimeOutAndLeavesNoFile) {
    HttpsSandbox sandbox;
    ServedRoute route = archiveRoute(writeArchive(sandbox, 2 * megabyte));
    route.stall = ServedRoute::Stall::afterBodyBytes;
    route.stallAfterBytes = 256 * 1024;
    sandbox.server.setRoute(archivePath, route);
    sandbox.layout.networkIdleTimeout = std::chrono::milliseconds(300);
    const QString destination = sandbox.path(QStringLiteral("download.zip"));
    EXPECT_EQ(httpsErrorOf(
                  sandbox.client().download(requestOf(sandbox.url(archivePath)), destination, {}))
                  .kind(),
              HttpsError::Kind::timedOut);
    EXPECT_FALSE(QFileInfo::exists(destination));
}

TEST(HttpsDownload, AnErrorStatusLeavesNoFile) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(archivePath, ServedRoute::bytes("<html>login</html>", 403));
    const QString destination = sandbox.path(QStringLiteral("download.zip"));
    const HttpsError error = httpsErrorOf(
        sandbox.client().download(requestOf(sandbox.url(archivePath)), destination, {}));
    EXPECT_EQ(error.kind(), HttpsError::Kind::httpStatus);
    EXPECT_EQ(error.status(), 403);
    EXPECT_FALSE(QFileInfo::exists(destination));
}

TEST(HttpsDownload, RefusesAnHttpUrlWithoutMakingTheFile) {
    HttpsSandbox sandbox;
    QUrl url = sandbox.url(archivePath);
    url.setScheme(QStringLiteral("http"));
    const QString destination = sandbox.path(QStringLiteral("download.zip"));
    EXPECT_EQ(httpsErrorOf(sandbox.client().download(requestOf(url), destination, {})).kind(),
              HttpsError::Kind::notHttps);
    EXPECT_FALSE(QFileInfo::exists(destination));
}

TEST(HttpsDownload, NeverWritesOverAFileAlreadyThere) {
    HttpsSandbox sandbox;
    sandbox.server.setRoute(archivePath, archiveRoute(writeArchive(sandbox, 1024)));
    const QString destination = sandbox.path(QStringLiteral("download.zip"));
    QFile existing(destination);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("kept");
    existing.close();
    EXPECT_EQ(httpsErrorOf(
                  sandbox.client().download(requestOf(sandbox.url(archivePath)), destination, {}))
                  .kind(),
              HttpsError::Kind::fileWrite);
    ASSERT_TRUE(existing.open(QIODevice::ReadOnly));
    EXPECT_EQ(existing.readAll(), QByteArray("kept"));
    EXPECT_TRUE(sandbox.server.servedRequests().isEmpty());
}
