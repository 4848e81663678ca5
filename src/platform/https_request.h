#pragma once

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <utility>

namespace tarnel {

// What to do with a body that starts with the gzip magic although the server
// named no encoding: servers that compress feeds and forget the header exist,
// while an archive that is itself gzip must arrive byte for byte.
enum class UnlabelledGzip { keep, decode };

// One GET. The client adds its own `Accept-Encoding`, and decodes what the
// server encodes in answer; every other header is the caller's.
struct HttpsRequest {
    QUrl url;
    QList<std::pair<QByteArray, QByteArray>> headers;
    // The most bytes the body may hold once decoded; beyond it the request
    // ends in `HttpsError::Kind::tooLarge`.
    qint64 maximumSize = 0;
    UnlabelledGzip unlabelledGzip = UnlabelledGzip::keep;
};

}  // namespace tarnel
