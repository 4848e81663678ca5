#include "https_sandbox.h"

#include <gtest/gtest.h>

HttpsSandbox::HttpsSandbox()
    : certificates(tarnel::LoopbackCertificates::create(root.filePath(QStringLiteral("tls")))),
      server(certificates) {
    if (!server.start()) {
        ADD_FAILURE() << "the loopback server did not start";
    }
    layout.extraTrustedCertificates = certificates.authorityCertificate;
}

QString HttpsSandbox::path(const QString& relative) const {
    return root.filePath(relative);
}

QUrl HttpsSandbox::url(const QString& path) const {
    QUrl result = server.baseUrl();
    result.setPath(path);
    return result;
}

tarnel::HttpsClient& HttpsSandbox::client() {
    if (!httpsClient) {
        httpsClient = std::make_unique<tarnel::HttpsClient>(layout);
    }
    return *httpsClient;
}
