#include "platform/xml_scalar_syntax.h"

#include <QDateTime>
#include <QString>

#include <algorithm>

namespace tarnel {

namespace {

bool isDigit(QChar character, int base) {
    const char16_t code = character.unicode();
    if (code >= u'0' && code <= u'9') {
        return true;
    }
    const char16_t lowered = code | 0x20;
    return base == 16 && lowered >= u'a' && lowered <= u'f';
}

}  // namespace

bool isIntegerText(QStringView text) {
    QStringView digits = text.trimmed();
    if (digits.startsWith(u'+') || digits.startsWith(u'-')) {
        digits = digits.sliced(1);
    }
    int base = 10;
    if (digits.startsWith(u"0x", Qt::CaseInsensitive)) {
        digits = digits.sliced(2);
        base = 16;
    }
    return !digits.isEmpty() && std::all_of(digits.begin(), digits.end(), [base](QChar character) {
        return isDigit(character, base);
    });
}

bool isRealText(QStringView text) {
    bool isNumber = false;
    static_cast<void>(text.trimmed().toDouble(&isNumber));
    return isNumber;
}

bool isDateText(QStringView text) {
    return QDateTime::fromString(text.trimmed().toString(), Qt::ISODate).isValid();
}

bool isBase64Text(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar character) {
        return character.isSpace() || isDigit(character, 10) ||
               (character >= u'a' && character <= u'z') ||
               (character >= u'A' && character <= u'Z') || character == u'+' || character == u'/' ||
               character == u'=';
    });
}

}  // namespace tarnel
