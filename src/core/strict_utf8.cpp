#include "core/strict_utf8.h"

#include <QStringDecoder>

namespace tarnel {

QString decodeStrictUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        return {};
    }
    return text;
}

}  // namespace tarnel
