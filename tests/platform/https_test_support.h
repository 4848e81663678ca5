#pragma once

#include "platform/https_error.h"
#include "platform/https_request.h"
#include "platform/https_response.h"
#include "support/await.h"

#include <QByteArray>
#include <QUrl>

#include <gtest/gtest.h>

#include <qcoro/qcorotask.h>

// A text that compresses well, as feeds do.
inline QByteArray feedText() {
    return QByteArray("<rss><channel>") +
           QByteArray("<item><title>Version 1.0</title></item>").repeated(500) +
           QByteArray("</channel></rss>");
}

inline tarnel::HttpsRequest requestOf(const QUrl& url, qint64 maximumSize = 8 * 1024 * 1024) {
    tarnel::HttpsRequest request;
    request.url = url;
    request.maximumSize = maximumSize;
    return request;
}

// The error the request ends in; a failed expectation when it succeeds.
inline tarnel::HttpsError httpsErrorOf(QCoro::Task<tarnel::HttpsResponse>&& task) {
    try {
        await(std::move(task));
    } catch (const tarnel::HttpsError& error) {
        return error;
    }
    ADD_FAILURE() << "the request did not fail with an HttpsError";
    return tarnel::HttpsError::connection(QStringLiteral("none"));
}
