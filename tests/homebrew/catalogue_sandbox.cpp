#include "catalogue_sandbox.h"

#include <gtest/gtest.h>

CatalogueSandbox::CatalogueSandbox()
    : certificates(tarnel::LoopbackCertificates::create(path(QStringLiteral("certificates")))),
      server(certificates) {
    if (!server.start()) {
        ADD_FAILURE() << "the loopback server did not start";
    }
    QUrl url = server.baseUrl();
    url.setPath(cataloguePath());
    layout.catalogueUrl = url;
    layout.extraTrustedCertificates = certificates.authorityCertificate;
}

void CatalogueSandbox::serveCatalogue(QByteArray body, int status) {
    server.setRoute(cataloguePath(), tarnel::ServedRoute::bytes(std::move(body), status));
}

qsizetype CatalogueSandbox::catalogueRequestCount() const {
    qsizetype count = 0;
    for (const tarnel::ServedRequest& request : server.servedRequests()) {
        count += request.path == cataloguePath() ? 1 : 0;
    }
    return count;
}
