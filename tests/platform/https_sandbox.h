#pragma once

#include "core/system_layout.h"
#include "loopback_certificates.h"
#include "loopback_https_server.h"
#include "platform/https_client.h"

#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

// A loopback HTTPS server whose authority the layout trusts, and a client
// made on first use, so that a test may change the layout before.
class HttpsSandbox {
public:
    HttpsSandbox();

    QString path(const QString& relative) const;
    // The server's URL of `path`, such as "/feed.xml".
    QUrl url(const QString& path) const;
    tarnel::HttpsClient& client();

    QTemporaryDir root;
    tarnel::LoopbackCertificates certificates;
    tarnel::LoopbackHttpsServer server;
    tarnel::SystemLayout layout;

private:
    std::unique_ptr<tarnel::HttpsClient> httpsClient;
};
