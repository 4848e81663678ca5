#include "loopback_https_server.h"

#include <QFile>
#include <QFileInfo>

#include <httplib.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace tarnel {

namespace {

const QByteArray gzipEncoding = "gzip";
// How much of a served file is read from the disk at a time.
constexpr qint64 filePieceSize = 256 * 1024;

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

void LoopbackHttpsServer::setRequestObserver(std::function<void(const ServedRequest&)> observer) {
    std::lock_guard lock(mutex);
    requestObserver = std::move(observer);
}

QUrl LoopbackHttpsServer::baseUrl() const {
    return QUrl(QStringLiteral("https://127.0.0.1:%1").arg(boundPort));
}

QList<ServedRequest> LoopbackHttpsServer::servedRequests() const {
    std::lock_guard lock(mutex);
    return served;
}

LoopbackHttpsServer::Answer LoopbackHttpsServer::answer(
    const QString& path, const QMap<QByteArray, QByteArray>& headers) {
    std::optional<ServedRoute> route;
    {
        std::lock_guard lock(mutex);
        if (routes.contains(path)) {
            route = routes.value(path);
        }
    }
    const QByteArray acceptEncoding = headers.value("accept-encoding");
    const bool isGzipped = route && route->isCompressible && acceptsGzip(acceptEncoding);
    // Large files go out in pieces from the disk; what is compressed is
    // compressed whole.
    const bool isStreamedFile = route && !route->filePath.isEmpty() && !isGzipped;
    std::optional<QByteArray> content;
    if (route && !isStreamedFile) {
        content = route->content();
    }
    Answer reply;
    if (!route || (isStreamedFile ? !QFileInfo(route->filePath).isFile() : !content)) {
        reply.body = "Not Found";
        reply.contentType = "text/plain";
    } else {
        reply.status = route->status;
        reply.contentType = route->contentType;
        reply.labelsEncoding = route->labelsEncoding;
        reply.location = route->location;
        reply.stall = route->stall;
        reply.stallAfterBytes = route->stallAfterBytes;
        if (isStreamedFile) {
            reply.filePath = route->filePath;
        } else if (const std::optional<QByteArray> compressed =
                       isGzipped ? gzipped(*content) : std::nullopt) {
            reply.body = *compressed;
            reply.contentEncoding = gzipEncoding;
        } else {
            reply.body = *content;
        }
    }
    ServedRequest request;
    request.path = path;
    request.acceptEncoding = acceptEncoding;
    request.headers = headers;
    request.contentEncoding = reply.contentEncoding;
    request.status = reply.status;
    std::function<void(const ServedRequest&)> observer;
    {
        std::lock_guard lock(mutex);
        served.append(request);
        observer = requestObserver;
    }
    if (observer) {
        observer(request);
    }
    return reply;
}

void LoopbackHttpsServer::holdUntilStopping() {
    std::unique_lock lock(mutex);
    stopping.wait(lock, [this] { return isStopping; });
}

bool LoopbackHttpsServer::start() {
    if (server) {
        return true;
    }
    {
        std::lock_guard lock(mutex);
        isStopping = false;
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
        QMap<QByteArray, QByteArray> headers;
        for (const auto& [name, value] : request.headers) {
            headers.insert(QByteArray::fromStdString(name).toLower(),
                           QByteArray::fromStdString(value));
        }
        const Answer reply = answer(QString::fromStdString(request.path), headers);
        if (reply.stall == ServedRoute::Stall::beforeHeaders) {
            holdUntilStopping();
            return;
        }
        response.status = reply.status;
        if (!reply.contentEncoding.isEmpty() && reply.labelsEncoding) {
            response.set_header("Content-Encoding", reply.contentEncoding.toStdString());
        }
        if (!reply.location.isEmpty()) {
            response.set_header("Location", reply.location.toStdString());
        }
        // A body of known length through a provider is sent exactly as given:
        // the library compresses nothing behind our back.
        std::shared_ptr<QFile> file;
        qint64 size = reply.body.size();
        if (!reply.filePath.isEmpty()) {
            file = std::make_shared<QFile>(reply.filePath);
            if (!file->open(QIODevice::ReadOnly)) {
                response.status = 404;
                return;
            }
            size = file->size();
        }
        // The library sends an empty provided body without a length and holds
        // the connection open, so an empty body goes as plain content, which
        // it may gzip: nothing of it can differ.
        if (size == 0) {
            response.set_content(std::string(), reply.contentType.toStdString());
            return;
        }
        const qint64 stallAt = reply.stall == ServedRoute::Stall::afterBodyBytes
                                   ? reply.stallAfterBytes
                                   : std::numeric_limits<qint64>::max();
        auto body = std::make_shared<QByteArray>(reply.body);
        response.set_content_provider(
            static_cast<size_t>(size), reply.contentType.toStdString(),
            [this, body, file, stallAt](size_t offset, size_t length, httplib::DataSink& sink) {
                const qint64 start = static_cast<qint64>(offset);
                if (start >= stallAt) {
                    holdUntilStopping();
                    return false;
                }
                const qint64 count =
                    std::min({static_cast<qint64>(length), stallAt - start, filePieceSize});
                if (!file) {
                    return sink.write(body->constData() + start, static_cast<size_t>(count));
                }
                const QByteArray piece = file->seek(start) ? file->read(count) : QByteArray();
                return !piece.isEmpty() &&
                       sink.write(piece.constData(), static_cast<size_t>(piece.size()));
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
    {
        std::lock_guard lock(mutex);
        isStopping = true;
    }
    stopping.notify_all();
    server->stop();
    if (serving.joinable()) {
        serving.join();
    }
    server.reset();
}

}  // namespace tarnel
