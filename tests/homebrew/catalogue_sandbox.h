#pragma once

#include "brew_sandbox.h"
#include "loopback_https_server.h"

#include <QByteArray>
#include <QString>

// Where the sandbox serves the catalogue.
inline QString cataloguePath() {
    return QStringLiteral("/api/cask.json");
}

// A sandbox whose catalogue endpoint is a loopback HTTPS server, trusted
// through the extra certificates of the layout.
class CatalogueSandbox : public BrewSandbox {
public:
    CatalogueSandbox();

    // Answers the catalogue path with `body` and `status` from now on.
    void serveCatalogue(QByteArray body, int status = 200);
    // How many catalogue requests the server has answered.
    qsizetype catalogueRequestCount() const;

    tarnel::LoopbackCertificates certificates;
    tarnel::LoopbackHttpsServer server;
};
