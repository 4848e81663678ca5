#include "core/printable_text.h"

namespace tarnel {

namespace {

bool isBidirectionalControl(char16_t unit) {
    return unit == 0x061C || unit == 0x200E || unit == 0x200F ||
           (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

bool isLoneSurrogate(const QString& text, qsizetype index) {
    const QChar unit = text.at(index);
    if (unit.isHighSurrogate()) {
        return index + 1 == text.size() || !text.at(index + 1).isLowSurrogate();
    }
    if (unit.isLowSurrogate()) {
        return index == 0 || !text.at(index - 1).isHighSurrogate();
    }
    return false;
}

bool needsEscape(const QString& text, qsizetype index, LineBreaks lineBreaks) {
    const char16_t unit = text.at(index).unicode();
    if (unit == u'\n' && lineBreaks == LineBreaks::kept) {
        return false;
    }
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit == 0x2028 || unit == 0x2029 ||
           isBidirectionalControl(unit) || isLoneSurrogate(text, index);
}

QString hex(char16_t unit, int width) {
    return QStringLiteral("%1").arg(unit, width, 16, QLatin1Char('0')).toUpper();
}

QString escaped(char16_t unit) {
    switch (unit) {
        case u'\t':
            return QStringLiteral("\\t");
        case u'\n':
            return QStringLiteral("\\n");
        case u'\r':
            return QStringLiteral("\\r");
        default:
            break;
    }
    if (unit < 0x20 || unit == 0x7F) {
        return QStringLiteral("\\x") + hex(unit, 2);
    }
    if (unit >= 0xDC80 && unit <= 0xDCFF) {
        return QStringLiteral("\\x") + hex(unit - 0xDC00, 2);
    }
    return QStringLiteral("\\u{") + hex(unit, 4) + u'}';
}

}  // namespace

QString printableText(const QString& text, LineBreaks lineBreaks) {
    qsizetype index = 0;
    while (index < text.size() && !needsEscape(text, index, lineBreaks)) {
        ++index;
    }
    if (index == text.size()) {
        return text;
    }
    QString shown = text.left(index);
    for (; index < text.size(); ++index) {
        if (needsEscape(text, index, lineBreaks)) {
            shown += escaped(text.at(index).unicode());
        } else {
            shown += text.at(index);
        }
    }
    return shown;
}

}  // namespace tarnel
