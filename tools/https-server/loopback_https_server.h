#pragma once

#include "loopback_certificates.h"
#include "served_request.h"
#include "served_route.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QUrl>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace httplib {
class SSLServer;
}

namespace tarnel {

// An HTTPS server on 127.0.0.1 and a free port, answering GET requests from a
// route table on a thread of its own. Paths without a route get 404.
class LoopbackHttpsServer {
public:
    explicit LoopbackHttpsServer(LoopbackCertificates certificates);
    ~LoopbackHttpsServer();
    LoopbackHttpsServer(const LoopbackHttpsServer&) = delete;
    LoopbackHttpsServer& operator=(const LoopbackHttpsServer&) = delete;

    // Adds or replaces the route at `path` (such as "/api/cask.json"); may be
    // called while the server runs.
    void setRoute(const QString& path, ServedRoute route);

    // Called on a serving thread with each request as it arrives, before it
    // is answered.
    void setRequestObserver(std::function<void(const ServedRequest&)> observer);

    // Binds and starts serving; false when the certificates do not load or
    // no port can be had.
    bool start();
    // Releases every stalled answer, stops serving and waits for the thread
    // to end.
    void stop();

    int port() const { return boundPort; }
    // "https://127.0.0.1:{port}".
    QUrl baseUrl() const;
    QList<ServedRequest> servedRequests() const;

private:
    struct Answer {
        int status = 404;
        // The body is these bytes, or the file when one is named.
        QByteArray body;
        QString filePath;
        QByteArray contentType;
        QByteArray contentEncoding;
        bool labelsEncoding = true;
        QByteArray location;
        ServedRoute::Stall stall = ServedRoute::Stall::never;
        qint64 stallAfterBytes = 0;
    };
    Answer answer(const QString& path, const QMap<QByteArray, QByteArray>& headers);
    // Blocks a serving thread until `stop` begins.
    void holdUntilStopping();

    LoopbackCertificates certificates;
    std::unique_ptr<httplib::SSLServer> server;
    std::thread serving;
    int boundPort = -1;
    mutable std::mutex mutex;
    std::condition_variable stopping;
    bool isStopping = false;
    QMap<QString, ServedRoute> routes;
    QList<ServedRequest> served;
    std::function<void(const ServedRequest&)> requestObserver;
};

}  // namespace tarnel
