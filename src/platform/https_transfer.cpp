#include "platform/https_transfer.h"

#include "core/async/cancellation_error.h"
#include "core/async/cancellation_registration.h"
#include "core/async/continuation.h"

#include <QNetworkReply>
#include <QNetworkRequest>

namespace tarnel {

namespace {

// How much is read from the reply at a time, which bounds each piece that
// reaches the writer.
constexpr qint64 readPieceSize = 256 * 1024;

bool isInformational(int status) {
    return status < 200;
}

bool isSuccess(int status) {
    return status >= 200 && status < 300;
}

bool isRedirection(int status) {
    return status >= 300 && status < 400;
}

std::optional<qint64> announcedLength(const QNetworkReply& reply) {
    // An encoded body's length says nothing of what the caller receives.
    if (reply.hasRawHeader("Content-Encoding") || !reply.hasRawHeader("Content-Length")) {
        return std::nullopt;
    }
    bool isNumber = false;
    const qint64 length = reply.rawHeader("Content-Length").trimmed().toLongLong(&isNumber);
    return isNumber && length >= 0 ? std::optional<qint64>(length) : std::nullopt;
}

}  // namespace

HttpsTransfer::HttpsTransfer(QNetworkReply& reply, const HttpsRequest& request, Writer writer,
                             DownloadProgress progress)
    : reply(reply),
      maximumSize(request.maximumSize),
      writer(std::move(writer)),
      progress(std::move(progress)),
      decoder(request.unlabelledGzip,
              [this](const char* data, qint64 size) { deliver(data, size); }) {
    // Signal handlers must not throw into the network layer.
    const auto guarded = [this](void (HttpsTransfer::*step)()) {
        return [this, step] {
            try {
                (this->*step)();
            } catch (const HttpsError& error) {
                fail(error);
            }
        };
    };
    QObject::connect(&reply, &QNetworkReply::metaDataChanged, &context,
                     guarded(&HttpsTransfer::acceptHeaders));
    QObject::connect(&reply, &QNetworkReply::readyRead, &context, guarded(&HttpsTransfer::drain));
}

void HttpsTransfer::fail(const HttpsError& error) {
    if (!failure) {
        failure = error;
    }
    isDiscardingBody = false;
    // Aborting from inside the reply's own signal makes the network layer
    // report a second error of its own, so the abort waits for the loop.
    QMetaObject::invokeMethod(
        &context, [this] { reply.abort(); }, Qt::QueuedConnection);
}

void HttpsTransfer::acceptHeaders() {
    const QVariant statusAttribute = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (areHeadersAccepted || redirectTarget || !statusAttribute.isValid()) {
        return;
    }
    const int status = statusAttribute.toInt();
    if (isInformational(status)) {
        return;
    }
    // The body of a redirect or a refused answer is of no use. It is read to
    // its end rather than aborted: the network layer may already have posted
    // the end of a short answer, and an abort then makes it report a second
    // error of its own.
    if (isRedirection(status) && reply.hasRawHeader("Location")) {
        redirectTarget = reply.url().resolved(QUrl::fromEncoded(reply.rawHeader("Location")));
        isDiscardingBody = true;
        return;
    }
    areHeadersAccepted = true;
    if (!isSuccess(status)) {
        failure = HttpsError::httpStatus(status);
        isDiscardingBody = true;
        return;
    }
    const std::optional<qint64> length = announcedLength(reply);
    if (length && *length > maximumSize) {
        throw HttpsError::tooLarge(maximumSize);
    }
    if (progress.onExpectedLength) {
        progress.onExpectedLength(length);
    }
}

void HttpsTransfer::drain() {
    acceptHeaders();
    if (isDiscardingBody) {
        discardBody();
        return;
    }
    while (areHeadersAccepted && !failure && reply.bytesAvailable() > 0) {
        const QByteArray piece = reply.read(readPieceSize);
        if (piece.isEmpty()) {
            return;
        }
        decoder.feed(piece.constData(), piece.size());
    }
}

void HttpsTransfer::discardBody() {
    discarded += reply.skip(reply.bytesAvailable());
    if (discarded > maximumSize) {
        fail(HttpsError::tooLarge(maximumSize));
    }
}

void HttpsTransfer::deliver(const char* data, qint64 size) {
    if (size > maximumSize - received) {
        throw HttpsError::tooLarge(maximumSize);
    }
    writer(data, size);
    received += size;
    if (progress.onDataReceived) {
        progress.onDataReceived(size);
    }
}

QCoro::Task<HttpsTransfer::Outcome> HttpsTransfer::run(CancellationToken token) {
    CancellationRegistration cancellation;
    try {
        co_await suspendUntilResumed<void>([&](ContinuationResumer<void> resumer) {
            QObject::connect(&reply, &QNetworkReply::finished, &context,
                             [resumer] { resumer.resume(); });
            cancellation = token.onCancelled(
                [resumer] { resumer.fail(std::make_exception_ptr(CancellationError())); });
        });
    } catch (const CancellationError&) {
        QObject::disconnect(&reply, nullptr, &context, nullptr);
        reply.abort();
        throw;
    }
    if (failure) {
        throw *failure;
    }
    if (redirectTarget) {
        co_return Outcome{{}, redirectTarget};
    }
    if (reply.error() != QNetworkReply::NoError) {
        throwReplyError();
    }
    drain();
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // A reply that ends on an interim answer never gave a final one.
    if (!areHeadersAccepted) {
        throw HttpsError::httpStatus(status);
    }
    decoder.finish();

    Outcome outcome;
    outcome.response.status = status;
    outcome.response.finalUrl = reply.url();
    outcome.response.contentType = reply.rawHeader("Content-Type");
    outcome.response.size = received;
    co_return outcome;
}

void HttpsTransfer::throwReplyError() {
    switch (reply.error()) {
        // Every abort of our own records its reason first, so an abort
        // without one is the idle time-out of the request.
        case QNetworkReply::OperationCanceledError:
            throw HttpsError::timedOut();
        case QNetworkReply::SslHandshakeFailedError:
            throw HttpsError::tls(reply.errorString());
        default:
            // An error status is told as such, whatever the layer calls it.
            acceptHeaders();
            throw HttpsError::connection(reply.errorString());
    }
}

}  // namespace tarnel
