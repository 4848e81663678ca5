#include "core/file_name_encoding.h"

#include <QFile>

namespace tarnel {

namespace {

constexpr char16_t escapeBase = 0xDC00;

// The length of the valid UTF-8 sequence that starts at `index`, or 0 when
// the bytes there start none: a stray continuation byte, an overlong form, a
// surrogate, a value past U+10FFFF or a sequence cut short.
qsizetype validSequenceLength(const QByteArray& bytes, qsizetype index) {
    const auto byteAt = [&bytes](qsizetype at) { return static_cast<unsigned char>(bytes[at]); };
    const unsigned char lead = byteAt(index);
    if (lead < 0x80) {
        return 1;
    }
    qsizetype length = 0;
    // The bounds of the second byte, narrower than a continuation's after
    // the leads that could start an overlong form, a surrogate or a value
    // past the last code point.
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : low;
        high = lead == 0xED ? 0x9F : high;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : low;
        high = lead == 0xF4 ? 0x8F : high;
    } else {
        return 0;
    }
    if (index + length > bytes.size() || byteAt(index + 1) < low || byteAt(index + 1) > high) {
        return 0;
    }
    for (qsizetype next = index + 2; next < index + length; ++next) {
        if ((byteAt(next) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

bool isEscapedByte(const QString& name, qsizetype index) {
    const char16_t unit = name.at(index).unicode();
    return unit >= escapeBase + 0x80 && unit <= escapeBase + 0xFF &&
           (index == 0 || !name.at(index - 1).isHighSurrogate());
}

}  // namespace

QString decodeFileName(const QByteArray& name) {
    if (name.isValidUtf8()) {
        return QFile::decodeName(name);
    }
    QString text;
    qsizetype runStart = 0;
    qsizetype index = 0;
    while (index < name.size()) {
        const qsizetype length = validSequenceLength(name, index);
        if (length > 0) {
            index += length;
            continue;
        }
        text += QString::fromUtf8(name.sliced(runStart, index - runStart));
        text += QChar(escapeBase + static_cast<unsigned char>(name[index]));
        runStart = ++index;
    }
    return text + QString::fromUtf8(name.sliced(runStart));
}

QByteArray encodeFileName(const QString& name) {
    QByteArray bytes;
    qsizetype runStart = 0;
    for (qsizetype index = 0; index < name.size(); ++index) {
        if (isEscapedByte(name, index)) {
            bytes += QStringView(name).sliced(runStart, index - runStart).toUtf8();
            bytes += static_cast<char>(name.at(index).unicode() - escapeBase);
            runStart = index + 1;
        }
    }
    if (runStart == 0) {
        return QFile::encodeName(name);
    }
    return bytes + QStringView(name).sliced(runStart).toUtf8();
}

}  // namespace tarnel
