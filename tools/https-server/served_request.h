#pragma once

#include <QByteArray>
#include <QString>

namespace tarnel {

// One request the server answered, for tests to look at.
struct ServedRequest {
    QString path;
    QByteArray acceptEncoding;
    // "gzip" when the body went out compressed, else empty.
    QByteArray contentEncoding;
    int status = 0;
};

}  // namespace tarnel
