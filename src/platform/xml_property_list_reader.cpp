#include "platform/xml_property_list_reader.h"

#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"
#include "platform/xml_scalar_syntax.h"

#include <QStringDecoder>
#include <QXmlStreamReader>

#include <utility>
#include <vector>

namespace tarnel {

namespace {

using Token = QXmlStreamReader::TokenType;

[[noreturn]] void fail(PropertyListError::Case errorCase) {
    throw PropertyListError(errorCase);
}

// QXmlStreamReader compares each attribute of a start tag with every one
// before it, and obeys what a document declares inline (entities, default
// attributes). A property list needs neither: its tags carry a version at
// most, and its DTD is named, never written out.
constexpr int maximumAttributes = 8;

bool isLetter(QChar character) {
    return (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z');
}

// The attributes of the start tag at `start`, counted by the '=' outside
// quoted values. A value never holds '<', so the count ends at the next one
// at the latest.
int attributeCount(QStringView text, qsizetype start) {
    int count = 0;
    QChar quote;
    for (qsizetype index = start + 1; index < text.size(); ++index) {
        const QChar character = text[index];
        if (character == u'<' || (quote.isNull() && character == u'>')) {
            break;
        }
        if (!quote.isNull()) {
            quote = character == quote ? QChar() : quote;
        } else if (character == u'"' || character == u'\'') {
            quote = character;
        } else if (character == u'=') {
            ++count;
        }
    }
    return count;
}

// Refuses, in one pass, a start tag with more attributes than a property
// list uses and any declaration beyond the document type's own.
void screenMarkup(QStringView text) {
    bool hasDeclaration = false;
    for (qsizetype at = text.indexOf(u'<'); at >= 0; at = text.indexOf(u'<', at + 1)) {
        const QChar next = at + 1 < text.size() ? text[at + 1] : QChar();
        if (next == u'!') {
            if (at + 2 < text.size() && isLetter(text[at + 2])) {
                if (hasDeclaration) {
                    fail(PropertyListError::Case::malformed);
                }
                hasDeclaration = true;
            }
        } else if (next != u'?' && next != u'/' && attributeCount(text, at) > maximumAttributes) {
            fail(PropertyListError::Case::exceedsLimits);
        }
    }
}

enum class Kind { dictionary, array, key, string, yes, no, integer, real, date, data, unknown };

Kind kindOf(QStringView name) {
    static constexpr std::pair<QStringView, Kind> kinds[] = {
        {u"dict", Kind::dictionary}, {u"array", Kind::array}, {u"key", Kind::key},
        {u"string", Kind::string},   {u"true", Kind::yes},    {u"false", Kind::no},
        {u"integer", Kind::integer}, {u"real", Kind::real},   {u"date", Kind::date},
        {u"data", Kind::data}};
    for (const auto& [tag, kind] : kinds) {
        if (name == tag) {
            return kind;
        }
    }
    return Kind::unknown;
}

// Whether `text` is well formed for a scalar of the kind; a key or an
// unknown element is no scalar.
bool isWellFormed(Kind kind, QStringView text) {
    switch (kind) {
        case Kind::string:
            return true;
        case Kind::yes:
        case Kind::no:
            return text.isEmpty();
        case Kind::integer:
            return isIntegerText(text);
        case Kind::real:
            return isRealText(text);
        case Kind::date:
            return isDateText(text);
        case Kind::data:
            return isBase64Text(text);
        default:
            return false;
    }
}

// An array or dictionary being read; a dictionary alternates keys and values.
struct OpenContainer {
    Kind kind;
    bool awaitsValue = false;
};

// Walks the tokens once, without recursion, keeping only the scalars of the
// root dictionary and checking that everything else is well formed.
class XmlPropertyListParser {
public:
    explicit XmlPropertyListParser(const QString& text) : reader(text) {
        reader.setNamespaceProcessing(false);
    }

    PropertyListEntries parse() {
        if (nextMarkup() != Token::StartElement || reader.name() != u"plist" ||
            nextMarkup() != Token::StartElement) {
            fail(PropertyListError::Case::malformed);
        }
        const Kind rootKind = kindOf(reader.name());
        PropertyListEntries entries = readValue(rootKind);
        if (nextMarkup() != Token::EndElement || nextMarkup() != Token::EndDocument) {
            fail(PropertyListError::Case::malformed);
        }
        if (rootKind != Kind::dictionary) {
            fail(PropertyListError::Case::rootNotDictionary);
        }
        return entries;
    }

private:
    Token next() {
        if (++parts > PropertyListLimits::maximumXmlParts) {
            fail(PropertyListError::Case::exceedsLimits);
        }
        const Token token = reader.readNext();
        // An entity reference is reported when nothing declares it.
        if (token == Token::Invalid || token == Token::EntityReference) {
            fail(PropertyListError::Case::malformed);
        }
        return token;
    }

    // The next start or end of an element, or the end of the document.
    Token nextMarkup() {
        for (;;) {
            const Token token = next();
            switch (token) {
                case Token::Characters:
                    if (!reader.isWhitespace()) {
                        fail(PropertyListError::Case::malformed);
                    }
                    break;
                case Token::StartDocument:
                case Token::DTD:
                case Token::Comment:
                case Token::ProcessingInstruction:
                    break;
                default:
                    return token;
            }
        }
    }

    // The text of the scalar whose start tag was just read, up to its end tag.
    QString readText() {
        QString text;
        for (;;) {
            switch (next()) {
                case Token::Characters:
                    text += reader.text();
                    break;
                case Token::Comment:
                case Token::ProcessingInstruction:
                    break;
                case Token::EndElement:
                    return text;
                default:
                    fail(PropertyListError::Case::malformed);
            }
        }
    }

    // Reads the rest of a scalar and gives what a root dictionary keeps of it.
    PropertyListValue readScalar(Kind kind) {
        QString text = readText();
        if (!isWellFormed(kind, text)) {
            fail(PropertyListError::Case::malformed);
        }
        if (kind == Kind::string) {
            return text;
        }
        if (kind == Kind::yes || kind == Kind::no) {
            return kind == Kind::yes;
        }
        return {};
    }

    // Reads the value whose start tag was just read, with all it holds, and
    // gives the entries of a dictionary's first level.
    PropertyListEntries readValue(Kind kind) {
        PropertyListEntries entries;
        if (kind != Kind::dictionary && kind != Kind::array) {
            readScalar(kind);
            return entries;
        }
        std::vector<OpenContainer> open{{kind}};
        QString key;
        while (!open.empty()) {
            const Token token = nextMarkup();
            if (token == Token::EndElement && !open.back().awaitsValue) {
                open.pop_back();
                continue;
            }
            if (token != Token::StartElement) {
                fail(PropertyListError::Case::malformed);
            }
            const Kind child = kindOf(reader.name());
            OpenContainer& container = open.back();
            if (container.kind == Kind::dictionary && !container.awaitsValue) {
                if (child != Kind::key) {
                    fail(PropertyListError::Case::malformed);
                }
                key = readText();
                container.awaitsValue = true;
                continue;
            }
            container.awaitsValue = false;
            const bool isRootEntry = open.size() == 1 && kind == Kind::dictionary;
            if (child == Kind::dictionary || child == Kind::array) {
                if (open.size() >= PropertyListLimits::maximumDepth) {
                    fail(PropertyListError::Case::exceedsLimits);
                }
                if (isRootEntry) {
                    entries.insert(key, std::monostate());
                }
                open.push_back({child});
            } else if (isRootEntry) {
                entries.insert(key, readScalar(child));
            } else {
                readScalar(child);
            }
        }
        return entries;
    }

    QXmlStreamReader reader;
    qsizetype parts = 0;
};

// The text of the bytes, screened. Given text, the stream reader keeps to it
// and ignores the declared encoding, as the strings tables that are
// converted before they come here need.
QString screenedText(const QByteArray& data) {
    QStringDecoder decoder(
        QStringConverter::encodingForData(data).value_or(QStringConverter::Utf8));
    const QString text = decoder.decode(data);
    screenMarkup(text);
    return text;
}

}  // namespace

PropertyListEntries readXmlPropertyList(const QByteArray& data) {
    // The text goes as soon as the reader has its own copy.
    XmlPropertyListParser parser(screenedText(data));
    return parser.parse();
}

}  // namespace tarnel
