#pragma once

#include <QByteArray>
#include <QUrl>

namespace tarnel {

// The final answer to a request, after every redirect.
struct HttpsResponse {
    // Always in the 2xx range: any other status is an `HttpsError`.
    int status = 0;
    // Where the body came from, the base for URLs inside it.
    QUrl finalUrl;
    QByteArray contentType;
    // The decoded body's length in bytes.
    qint64 size = 0;
    // The decoded body of `HttpsClient::get`; a download leaves it empty.
    QByteArray body;
};

}  // namespace tarnel
