#include "platform/strings_file_parser.h"

#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"

#include <QStringDecoder>

namespace tarnel {

namespace {

std::optional<QString> decodeText(const QByteArray& data) {
    // Without a byte order mark, a zero byte among the first two marks UTF-16.
    auto encoding = QStringConverter::encodingForData(data);
    if (!encoding) {
        if (data.size() >= 2 && data[0] == '\0') {
            encoding = QStringConverter::Utf16BE;
        } else if (data.size() >= 2 && data[1] == '\0') {
            encoding = QStringConverter::Utf16LE;
        } else {
            encoding = QStringConverter::Utf8;
        }
    }
    QStringDecoder decoder(*encoding);
    QString text = decoder.decode(data);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return text;
}

bool isUnquotedCharacter(QChar character) {
    const char16_t code = character.unicode();
    return (code >= u'a' && code <= u'z') || (code >= u'A' && code <= u'Z') ||
           (code >= u'0' && code <= u'9') || QStringView(u"_$+/:.-").contains(character);
}

int hexDigit(QChar character) {
    const char16_t code = character.unicode();
    if (code >= u'0' && code <= u'9') {
        return code - u'0';
    }
    if (code >= u'a' && code <= u'f') {
        return code - u'a' + 10;
    }
    if (code >= u'A' && code <= u'F') {
        return code - u'A' + 10;
    }
    return -1;
}

// The old text form: an optional pair of braces around `key = value;`
// entries, where `key;` alone maps a key to itself.
class OldStyleStringsParser {
public:
    explicit OldStyleStringsParser(QStringView text) : text(text) {}

    std::optional<QHash<QString, QString>> parse() {
        QHash<QString, QString> table;
        if (!skipSpaceAndComments()) {
            return std::nullopt;
        }
        const bool isBraced = consume(u'{');
        for (;;) {
            if (!skipSpaceAndComments()) {
                return std::nullopt;
            }
            if (atEnd()) {
                return isBraced ? std::nullopt : std::optional(table);
            }
            if (isBraced && consume(u'}')) {
                return skipSpaceAndComments() && atEnd() ? std::optional(table) : std::nullopt;
            }
            auto entry = readEntry();
            if (!entry) {
                return std::nullopt;
            }
            table.insert(entry->first, entry->second);
        }
    }

private:
    std::optional<std::pair<QString, QString>> readEntry() {
        auto key = readString();
        if (!key || !skipSpaceAndComments()) {
            return std::nullopt;
        }
        QString value = *key;
        if (consume(u'=')) {
            auto given = skipSpaceAndComments() ? readString() : std::nullopt;
            if (!given || !skipSpaceAndComments()) {
                return std::nullopt;
            }
            value = *given;
        }
        if (!consume(u';')) {
            return std::nullopt;
        }
        return std::pair(*key, value);
    }

    bool atEnd() const { return position >= text.size(); }

    bool consume(char16_t expected) {
        if (!atEnd() && text[position] == expected) {
            ++position;
            return true;
        }
        return false;
    }

    // False when a block comment never ends.
    bool skipSpaceAndComments() {
        while (!atEnd()) {
            if (text[position].isSpace()) {
                ++position;
            } else if (text.mid(position).startsWith(u"//")) {
                const qsizetype end = text.indexOf(u'\n', position);
                position = end < 0 ? text.size() : end + 1;
            } else if (text.mid(position).startsWith(u"/*")) {
                const qsizetype end = text.indexOf(u"*/", position + 2);
                if (end < 0) {
                    return false;
                }
                position = end + 2;
            } else {
                return true;
            }
        }
        return true;
    }

    std::optional<QString> readString() {
        if (consume(u'"')) {
            return readQuotedRest();
        }
        const qsizetype start = position;
        while (!atEnd() && isUnquotedCharacter(text[position])) {
            ++position;
        }
        if (position == start) {
            return std::nullopt;
        }
        return text.sliced(start, position - start).toString();
    }

    std::optional<QString> readQuotedRest() {
        QString result;
        while (!atEnd()) {
            const QChar character = text[position++];
            if (character == u'"') {
                return result;
            }
            if (character != u'\\') {
                result.append(character);
            } else if (atEnd()) {
                return std::nullopt;
            } else {
                result.append(readEscape());
            }
        }
        return std::nullopt;
    }

    QChar readEscape() {
        static constexpr QStringView letters = u"abfnrtv";
        static constexpr QStringView controls = u"\a\b\f\n\r\t\v";
        const QChar character = text[position++];
        if (const qsizetype index = letters.indexOf(character); index >= 0) {
            return controls[index];
        }
        if (character == u'U' || character == u'u') {
            return readNumber(16, 4);
        }
        if (character >= u'0' && character <= u'7') {
            --position;
            return readNumber(8, 3);
        }
        return character;
    }

    QChar readNumber(int base, int maximumDigits) {
        char16_t value = 0;
        for (int digits = 0; digits < maximumDigits && !atEnd(); ++digits) {
            const int digit = hexDigit(text[position]);
            if (digit < 0 || digit >= base) {
                break;
            }
            value = static_cast<char16_t>(value * base + digit);
            ++position;
        }
        return QChar(value);
    }

    QStringView text;
    qsizetype position = 0;
};

std::optional<QHash<QString, QString>> parsePropertyList(const QByteArray& data) {
    try {
        return PropertyListDictionary::fromData(data).textEntries();
    } catch (const PropertyListError&) {
        return std::nullopt;
    }
}

}  // namespace

std::optional<QHash<QString, QString>> parseStringsFile(const QByteArray& data) {
    if (data.startsWith("bplist")) {
        return parsePropertyList(data);
    }
    const auto text = decodeText(data);
    if (!text) {
        return std::nullopt;
    }
    if (text->trimmed().startsWith(u'<')) {
        return parsePropertyList(text->toUtf8());
    }
    return OldStyleStringsParser(*text).parse();
}

}  // namespace tarnel
