#include "platform/https_client.h"

#include "platform/https_error.h"

#include <QFile>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QScopedPointer>
#include <QSslCertificate>

namespace tarnel {

namespace {

constexpr int maximumRedirects = 10;
// What the network layer may hold unread for one reply of a download, so
// that the body never gathers in memory when the file is slower than the
// network.
constexpr qint64 downloadBufferSize = 1024 * 1024;
// A body kept in memory gathers there anyway; a limit would only slow it.
constexpr qint64 unlimitedBuffer = 0;

// The system's trust, plus the extra certificates when a layout names them.
QSslConfiguration tlsConfiguration(const QString& extraTrustedCertificates) {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    if (!extraTrustedCertificates.isEmpty()) {
        configuration.setCaCertificates(
            QSslConfiguration::systemCaCertificates() +
            QSslCertificate::fromPath(extraTrustedCertificates, QSsl::Pem));
    }
    return configuration;
}

void requireHttps(const QUrl& url) {
    if (!url.isValid() || url.scheme() != QLatin1String("https") || url.host().isEmpty()) {
        throw HttpsError::notHttps(url);
    }
}

}  // namespace

HttpsClient::HttpsClient(const SystemLayout& layout)
    : tls(tlsConfiguration(layout.extraTrustedCertificates)),
      idleTimeout(layout.networkIdleTimeout) {}

QCoro::Task<HttpsResponse> HttpsClient::get(HttpsRequest request, CancellationToken token) {
    QByteArray body;
    HttpsResponse response = co_await transfer(
        std::move(request), [&body](const char* data, qint64 size) { body.append(data, size); }, {},
        unlimitedBuffer, std::move(token));
    response.body = std::move(body);
    co_return response;
}

QCoro::Task<HttpsResponse> HttpsClient::download(HttpsRequest request, QString destination,
                                                 DownloadProgress progress,
                                                 CancellationToken token) {
    requireHttps(request.url);
    // Unbuffered, so that what the progress reports is in the file.
    QFile file(destination);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) {
        throw HttpsError::fileWrite(destination, file.errorString());
    }
    const auto write = [&file, &destination](const char* data, qint64 size) {
        if (file.write(data, size) != size) {
            throw HttpsError::fileWrite(destination, file.errorString());
        }
    };
    try {
        HttpsResponse response = co_await transfer(std::move(request), write, std::move(progress),
                                                   downloadBufferSize, std::move(token));
        file.close();
        co_return response;
    } catch (...) {
        file.remove();
        throw;
    }
}

QCoro::Task<HttpsResponse> HttpsClient::transfer(HttpsRequest request, HttpsTransfer::Writer writer,
                                                 DownloadProgress progress, qint64 replyBufferSize,
                                                 CancellationToken token) {
    requireHttps(request.url);
    // Redirects are followed here rather than by the network layer, so that
    // each target is checked before anything is sent to it.
    QUrl url = request.url;
    for (int redirects = 0;; ++redirects) {
        token.throwIfCancelled();
        QNetworkRequest networkRequest(url);
        networkRequest.setSslConfiguration(tls);
        networkRequest.setTransferTimeout(static_cast<int>(idleTimeout.count()));
        networkRequest.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                                    QNetworkRequest::ManualRedirectPolicy);
        for (const auto& [name, value] : request.headers) {
            networkRequest.setRawHeader(name, value);
        }
        // The network layer may still have events under way for the reply
        // when the transfer ends, so it goes by the event loop.
        const QScopedPointer<QNetworkReply, QScopedPointerDeleteLater> reply(
            network.get(networkRequest));
        reply->setReadBufferSize(replyBufferSize);
        HttpsTransfer exchange(*reply, request, writer, progress);
        const HttpsTransfer::Outcome outcome = co_await exchange.run(token);
        if (!outcome.redirectTarget) {
            co_return outcome.response;
        }
        if (outcome.redirectTarget->scheme() != QLatin1String("https")) {
            throw HttpsError::insecureRedirect(*outcome.redirectTarget);
        }
        if (redirects == maximumRedirects) {
            throw HttpsError::tooManyRedirects();
        }
        url = *outcome.redirectTarget;
    }
}

}  // namespace tarnel
