#include "platform/unlabelled_gzip_decoder.h"

#include "platform/https_error.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>

namespace tarnel {

namespace {

const QByteArray gzipMagic("\x1f\x8b", 2);
// A window of 15 bits plus 16 asks zlib for the gzip wrapper.
constexpr int gzipWindowBits = 15 + 16;
constexpr qint64 outputPieceSize = 64 * 1024;

}  // namespace

UnlabelledGzipDecoder::UnlabelledGzipDecoder(UnlabelledGzip mode, Output output)
    : state(mode == UnlabelledGzip::decode ? State::sniffing : State::passing),
      output(std::move(output)),
      stream(std::make_unique<z_stream_s>()) {}

UnlabelledGzipDecoder::~UnlabelledGzipDecoder() {
    if (isInflaterReady) {
        inflateEnd(stream.get());
    }
}

void UnlabelledGzipDecoder::feed(const char* data, qint64 size) {
    switch (state) {
        case State::passing:
            output(data, size);
            return;
        case State::inflating:
            decompress(data, size);
            return;
        case State::sniffing:
            head.append(data, size);
            if (head.size() < gzipMagic.size()) {
                return;
            }
            const QByteArray held = std::exchange(head, {});
            if (held.startsWith(gzipMagic)) {
                startInflating();
                decompress(held.constData(), held.size());
            } else {
                state = State::passing;
                output(held.constData(), held.size());
            }
            return;
    }
}

void UnlabelledGzipDecoder::finish() {
    if (state == State::sniffing && !head.isEmpty()) {
        output(head.constData(), head.size());
    }
    if (state == State::inflating && !isMemberComplete) {
        throw HttpsError::badEncoding();
    }
}

void UnlabelledGzipDecoder::startInflating() {
    *stream = z_stream_s{};
    if (inflateInit2(stream.get(), gzipWindowBits) != Z_OK) {
        throw HttpsError::badEncoding();
    }
    isInflaterReady = true;
    state = State::inflating;
}

void UnlabelledGzipDecoder::decompress(const char* data, qint64 size) {
    std::array<char, outputPieceSize> piece;
    while (size > 0) {
        const auto taken =
            static_cast<uInt>(std::min<qint64>(size, std::numeric_limits<uInt>::max()));
        stream->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
        stream->avail_in = taken;
        data += taken;
        size -= taken;
        // zlib stops when the input is used up or the piece is full; a full
        // piece may leave more output behind, so it asks again.
        do {
            // Several gzip members in a row decode as one body, as gunzip has it.
            if (isMemberComplete) {
                if (stream->avail_in == 0) {
                    break;
                }
                inflateReset(stream.get());
                isMemberComplete = false;
            }
            stream->next_out = reinterpret_cast<Bytef*>(piece.data());
            stream->avail_out = static_cast<uInt>(piece.size());
            const int result = inflate(stream.get(), Z_NO_FLUSH);
            if (result == Z_STREAM_END) {
                isMemberComplete = true;
            } else if (result != Z_OK && result != Z_BUF_ERROR) {
                throw HttpsError::badEncoding();
            }
            const qint64 produced = outputPieceSize - stream->avail_out;
            if (produced > 0) {
                output(piece.data(), produced);
            }
        } while (stream->avail_out == 0 || (isMemberComplete && stream->avail_in > 0));
    }
}

}  // namespace tarnel
