#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tarnel {

// What the server answers at one path: fixed bytes, or a file read afresh at
// every request so that a test may change it between requests.
struct ServedRoute {
    QByteArray body;
    QString filePath;
    int status = 200;
    QByteArray contentType = "application/json";
    // Gzip the body when the client accepts it.
    bool isCompressible = true;

    static ServedRoute bytes(QByteArray body, int status = 200);
    static ServedRoute file(QString path, int status = 200);

    // The body to send; nothing when the file cannot be read.
    std::optional<QByteArray> content() const;
};

}  // namespace tarnel
