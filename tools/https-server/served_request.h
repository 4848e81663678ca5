#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

namespace tarnel {

// One request the server answered, for tests to look at.
struct ServedRequest {
    QString path;
    QByteArray acceptEncoding;
    // Every request header, by its lower-cased name.
    QMap<QByteArray, QByteArray> headers;
    // "gzip" when the body went out compressed, else empty.
    QByteArray contentEncoding;
    int status = 0;
};

}  // namespace tarnel
