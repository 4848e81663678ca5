#include "sandbox_server.h"

#include "core/system_layout_file.h"
#include "loopback_https_server.h"
#include "sandbox_builder.h"
#include "sandbox_feeds.h"

#include <QTextStream>

#include <csignal>

namespace tarnel {

namespace {

const QString cataloguePath = QStringLiteral("/api/cask.json");

// Blocks the stop signals in this thread and every thread started after it,
// so that only the wait below receives them.
sigset_t blockStopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

}  // namespace

int serveSandbox(const QString& root) {
    QTextStream errors(stderr);
    const QString layoutFile = root + QStringLiteral("/layout.json");
    try {
        // Only a complete layout is worth serving; the read tells what is wrong.
        readSystemLayoutFile(layoutFile);
    } catch (const SystemLayoutFileError& error) {
        errors << "tarnel-sandbox serve: " << error.what() << " (run create first)\n";
        return 1;
    }

    const sigset_t stopSignals = blockStopSignals();
    LoopbackHttpsServer server(LoopbackCertificates::inFolder(root + QStringLiteral("/ca")));
    server.setRoute(cataloguePath,
                    ServedRoute::file(root + QStringLiteral("/www") + cataloguePath));
    if (!server.start()) {
        errors << "tarnel-sandbox serve: cannot start the HTTPS server (certificates in " << root
               << "/ca, or no free port)\n";
        return 1;
    }
    try {
        SandboxFeeds(root).publish(server);
    } catch (const SandboxError& error) {
        errors << "tarnel-sandbox serve: " << error.what() << '\n';
        server.stop();
        return 1;
    }
    QUrl catalogueUrl = server.baseUrl();
    catalogueUrl.setPath(cataloguePath);
    try {
        writeSystemLayoutCatalogueUrl(layoutFile, catalogueUrl);
    } catch (const SystemLayoutFileError& error) {
        errors << "tarnel-sandbox serve: " << error.what() << '\n';
        server.stop();
        return 1;
    }
    QTextStream(stdout) << "Serving " << root << " at " << server.baseUrl().toString() << Qt::endl;

    int received = 0;
    sigwait(&stopSignals, &received);
    server.stop();
    return 0;
}

}  // namespace tarnel
