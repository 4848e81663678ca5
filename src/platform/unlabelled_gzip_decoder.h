#pragma once

#include "platform/https_request.h"

#include <QByteArray>

#include <functional>
#include <memory>

struct z_stream_s;

namespace tarnel {

// Hands a body on piece by piece as it arrives: gunzipped when decoding is
// asked for and the body proves to start with the gzip magic, otherwise byte
// for byte. Decoding never holds more than one output piece.
class UnlabelledGzipDecoder {
public:
    // Receives each decoded piece; may throw to end the body.
    using Output = std::function<void(const char* data, qint64 size)>;

    UnlabelledGzipDecoder(UnlabelledGzip mode, Output output);
    ~UnlabelledGzipDecoder();
    UnlabelledGzipDecoder(const UnlabelledGzipDecoder&) = delete;
    UnlabelledGzipDecoder& operator=(const UnlabelledGzipDecoder&) = delete;

    // Throws `HttpsError` of kind `badEncoding`, or what the output throws.
    void feed(const char* data, qint64 size);
    // The body is complete. Throws `badEncoding` when a gzip stream stops
    // short of its end.
    void finish();

private:
    enum class State { sniffing, passing, inflating };

    void startInflating();
    void decompress(const char* data, qint64 size);

    State state;
    Output output;
    // The first bytes, held until there are enough to tell gzip apart.
    QByteArray head;
    std::unique_ptr<z_stream_s> stream;
    bool isInflaterReady = false;
    bool isMemberComplete = false;
};

}  // namespace tarnel
