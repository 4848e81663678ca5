#include "loopback_https_server.h"

#include <QFile>

#include <httplib.h>
#include <zlib.h>

#include <cstring>

namespace tarnel {

namespace {

const QByteArray gzipEncoding = "gzip";

// Whether the Accept-Encoding header names gzip without refusing it by q=0.
bool acceptsGzip(const QByteArray& acceptEncoding) {
    for (const QByteArray& entry : acceptEncoding.split(',')) {
        const QList<QByteArray> parts = entry.split(';');
        if (parts.first().trimmed().toLower() != gzipEncoding) {
            continue;
        }
        const QByteArray weight = parts.size() > 1 ? parts.at(1).trimmed() : QByteArray("q=1");
        const bool isRefused = weight.startsWith("q=") && weight.mid(2).toDouble() <= 0.0;
        return !isRefused;
    }
    return false;
}

std::optional<QByteArray> gzipped(const QByteArray& bytes) {
    z_stream stream;
    std::memset(&stream, 0, sizeof stream);
    // A window of 15 bits plus 16 asks zlib for the gzip wrapper.
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        return std::nullopt;
    }
    QByteArray output(
        static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(bytes.size()))),
        Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    const int result = deflate(&stream, Z_FINISH);
    output.resize(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        return std::nullopt;
    }
    return output;
}

}  // namespace

LoopbackHttpsServer::LoopbackHttpsServer(LoopbackCertificates certificates)
    : certificates(std::move(certificates)) {}

LoopbackHttpsServer::~LoopbackHttpsServer() {
    stop();
}

void LoopbackHttpsServer::setRoute(const QString& path, ServedRoute route) {
    std::lock_guard lock(mutex);
    routes.insert(path, std::move(route));
}

QUrl LoopbackHttpsServer::baseUrl() const {
    return QUrl(QStringLiteral("https://127.0.0.1:%1").arg(boundPort));
}

QList<ServedRequest> LoopbackHttpsServer::servedRequests() const {
    std::lock_guard lock(mutex);
    return served;
}

LoopbackHttpsServer::Answer LoopbackHttpsServer::answer(const QString& path,
                                                        const QByteArray& acceptEncoding) {
    std::optional<ServedRoute> route;
    {
        std::lock_guard lock(mutex);
        if (routes.contains(path)) {
            route = routes.value(path);
        }
    }
    Answer reply;
    const std::optional<QByteArray> content = route ? route->content() : std::nullopt;
    if (!content) {
        reply.body = "Not Found";
        reply.contentType = "text/plain";
    } else {
        reply.status = route->status;
        reply.body = *content;
        reply.contentType = route->contentType;
        if (route->isCompressible && acceptsGzip(acceptEncoding)) {
            if (const std::optional<QByteArray> compressed = gzipped(reply.body)) {
                reply.body = *compressed;
                reply.contentEncoding = gzipEncoding;
            }
        }
    }
    std::lock_guard lock(mutex);
    served.append({path, acceptEncoding, reply.contentEncoding, reply.status});
    return reply;
}

bool LoopbackHttpsServer::start() {
    if (server) {
        return true;
    }
    server = std::make_unique<httplib::SSLServer>(
        QFile::encodeName(certificates.serverCertificate).constData(),
        QFile::encodeName(certificates.serverKey).constData());
    if (!server->is_valid()) {
        server.reset();
        return false;
    }
    // One request per connection, so that stopping never waits on an idle
    // keep-alive connection.
    server->set_keep_alive_max_count(1);
    server->Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
        const Answer reply =
            answer(QString::fromStdString(request.path),
                   QByteArray::fromStdString(request.get_header_value("Accept-Encoding")));
        response.status = reply.status;
        if (!reply.contentEncoding.isEmpty()) {
            response.set_header("Content-Encoding", reply.contentEncoding.toStdString());
        }
        // A body of known length through a provider is sent exactly as given:
        // the library compresses nothing behind our back.
        auto body = std::make_shared<QByteArray>(reply.body);
        response.set_content_provider(
            static_cast<size_t>(body->size()), reply.contentType.toStdString(),
            [body](size_t offset, size_t length, httplib::DataSink& sink) {
                return sink.write(body->constData() + offset, length);
            });
    });
    boundPort = server->bind_to_any_port("127.0.0.1");
    if (boundPort < 0) {
        server.reset();
        return false;
    }
    serving = std::thread([this] { server->listen_after_bind(); });
    // A stop that came before the loop began would be lost, so start returns
    // only once the server listens.
    while (!server->is_running()) {
        std::this_thread::yield();
    }
    return true;
}

void LoopbackHttpsServer::stop() {
    if (!server) {
        return;
    }
    server->stop();
    if (serving.joinable()) {
        serving.join();
    }
    server.reset();
}

}  // namespace tarnel
