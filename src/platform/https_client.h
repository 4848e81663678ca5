#pragma once

#include "core/async/cancellation_token.h"
#include "core/system_layout.h"
#include "platform/download_progress.h"
#include "platform/https_request.h"
#include "platform/https_response.h"
#include "platform/https_transfer.h"

#include <QNetworkAccessManager>
#include <QSslConfiguration>
#include <QString>

#include <chrono>

#include <qcoro/qcorotask.h>

namespace tarnel {

// The program's one way to fetch over the network: GET over HTTPS only,
// trusting the system's authorities and the layout's extra certificate.
// Redirects are followed, at most ten and never away from HTTPS; gzip is
// decoded; every request ends after the layout's idle time-out without a
// byte. Lives on the main thread, where its coroutines run.
class HttpsClient {
public:
    explicit HttpsClient(const SystemLayout& layout);

    // The whole body in memory. Throws `HttpsError`, or `CancellationError`.
    QCoro::Task<HttpsResponse> get(HttpsRequest request, CancellationToken token = {});

    // Streams the body into a new file at `destination`, which must not
    // exist, holding no more than a piece of it in memory. On any failure or
    // cancellation the file is removed. Throws `HttpsError`, or
    // `CancellationError`.
    QCoro::Task<HttpsResponse> download(HttpsRequest request, QString destination,
                                        DownloadProgress progress, CancellationToken token = {});

private:
    // `replyBufferSize` bounds what the network layer holds unread; 0 leaves
    // it unbounded.
    QCoro::Task<HttpsResponse> transfer(HttpsRequest request, HttpsTransfer::Writer writer,
                                        DownloadProgress progress, qint64 replyBufferSize,
                                        CancellationToken token);

    QSslConfiguration tls;
    std::chrono::milliseconds idleTimeout;
    QNetworkAccessManager network;
};

}  // namespace tarnel
