#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tarnel {

// What the server answers at one path: fixed bytes, or a file read afresh at
// every request so that a test may change it between requests.
struct ServedRoute {
    // Where an answer falls silent, holding its connection open without a
    // byte more until the server stops: the behaviour of a stalled server.
    enum class Stall { never, beforeHeaders, afterBodyBytes };

    QByteArray body;
    QString filePath;
    int status = 200;
    QByteArray contentType = "application/json";
    // Gzip the body when the client accepts it.
    bool isCompressible = true;
    // Name the gzip encoding in a header; false imitates a server that
    // forgets to.
    bool labelsEncoding = true;
    // Sent as the Location header when not empty.
    QByteArray location;
    Stall stall = Stall::never;
    // With `Stall::afterBodyBytes`, how much of the body goes out first.
    qint64 stallAfterBytes = 0;

    static ServedRoute bytes(QByteArray body, int status = 200);
    // Read at every request; sent from the disk in pieces, however large,
    // when it goes out uncompressed.
    static ServedRoute file(QString path, int status = 200);
    static ServedRoute redirect(QByteArray location, int status = 302);

    // The body to send; nothing when the file cannot be read.
    std::optional<QByteArray> content() const;
};

}  // namespace tarnel
