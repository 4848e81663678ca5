#pragma once

#include "core/async/cancellation_token.h"
#include "platform/download_progress.h"
#include "platform/https_error.h"
#include "platform/https_request.h"
#include "platform/https_response.h"
#include "platform/unlabelled_gzip_decoder.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <optional>

#include <qcoro/qcorotask.h>

class QNetworkReply;

namespace tarnel {

// One request on the wire, from the reply's start to its end: tells a
// redirect apart, checks the final status and the announced length, decodes
// what needs decoding, holds the body to its cap, and passes each piece to
// the writer as it arrives. Lives on the main thread.
class HttpsTransfer {
public:
    // Takes each decoded piece of the body; may throw `HttpsError`.
    using Writer = std::function<void(const char* data, qint64 size)>;

    // How a transfer ends well: with the final answer, its body gone to the
    // writer, or with a redirect whose body was never read.
    struct Outcome {
        HttpsResponse response;
        std::optional<QUrl> redirectTarget;
    };

    HttpsTransfer(QNetworkReply& reply, const HttpsRequest& request, Writer writer,
                  DownloadProgress progress);

    // Ends with the reply. Throws `HttpsError`, or `CancellationError` when
    // the token is cancelled first, in which case the reply is aborted.
    QCoro::Task<Outcome> run(CancellationToken token);

private:
    // Once the answer's headers are there, tells a redirect, refuses what it
    // must and reports the expected length. Throws `HttpsError`.
    void acceptHeaders();
    // Reads what has arrived. Throws `HttpsError`.
    void drain();
    void deliver(const char* data, qint64 size);
    // Records why the transfer ends and aborts the reply.
    void fail(const HttpsError& error);
    // Drops what arrives of a refused answer's body, up to the size allowed.
    void discardBody();
    void throwReplyError();

    QNetworkReply& reply;
    qint64 maximumSize;
    Writer writer;
    DownloadProgress progress;
    UnlabelledGzipDecoder decoder;
    bool areHeadersAccepted = false;
    std::optional<QUrl> redirectTarget;
    qint64 received = 0;
    std::optional<HttpsError> failure;
    bool isDiscardingBody = false;
    qint64 discarded = 0;
    // Receives the reply's signals; dropping it with the transfer
    // disconnects them.
    QObject context;
};

}  // namespace tarnel
