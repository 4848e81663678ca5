#include "platform/appcast/appcast_xml_reader.h"

#include "core/strict_utf8.h"
#include "platform/appcast/updater_error.h"

#include <QXmlStreamReader>

namespace tarnel {

namespace {

constexpr QStringView sparkleNamespace = u"http://www.andymatuschak.org/xml-namespaces/sparkle";
constexpr QStringView xmlNamespace = u"http://www.w3.org/XML/1998/namespace";

QString nodeName(QStringView namespaceUri, QStringView localName) {
    if (namespaceUri == sparkleNamespace) {
        return QStringLiteral("sparkle:").append(localName);
    }
    if (namespaceUri == xmlNamespace) {
        return QStringLiteral("xml:").append(localName);
    }
    if (namespaceUri.isEmpty()) {
        return localName.toString();
    }
    return QString(u'{').append(namespaceUri).append(u'}').append(localName);
}

bool isItemPath(const QStringList& path) {
    return path.size() == 3 && path[0] == u"rss" && path[1] == u"channel" && path[2] == u"item";
}

FeedNode startNode(const QXmlStreamReader& reader, QString name) {
    FeedNode node;
    node.name = std::move(name);
    for (const QXmlStreamAttribute& attribute : reader.attributes()) {
        node.attributes.append(
            {nodeName(attribute.namespaceUri(), attribute.name()), attribute.value().toString()});
    }
    return node;
}

// Whether the document starts as UTF-8 text and names no other encoding in
// its declaration.
bool declaresUtf8(QByteArrayView bytes) {
    if (bytes.startsWith("\xEF\xBB\xBF")) {
        bytes = bytes.sliced(3);
    }
    // A NUL among the first bytes is UTF-16 or UTF-32 without a mark.
    if (bytes.size() < 2 || bytes[0] != '<' || bytes[1] == '\0') {
        return false;
    }
    if (!bytes.startsWith("<?xml")) {
        return true;
    }
    const qsizetype end = bytes.first(qMin<qsizetype>(bytes.size(), 256)).indexOf("?>");
    if (end < 0) {
        return false;
    }
    const QByteArray declaration = bytes.first(end).toByteArray().simplified().replace(' ', "");
    const qsizetype encoding = declaration.indexOf("encoding=");
    if (encoding < 0) {
        return true;
    }
    const QByteArray name = declaration.mid(encoding + 9, 7).toLower();
    return name == "\"utf-8\"" || name == "'utf-8'" || name.startsWith("\"utf8\"") ||
           name.startsWith("'utf8'");
}

QList<FeedNode> readItemNodes(QXmlStreamReader& reader) {
    QList<FeedNode> items;
    QStringList path;
    // The item being read, then its open descendants.
    QList<FeedNode> open;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
            case QXmlStreamReader::DTD:
                throw UpdaterError::appcastParse(
                    QStringLiteral("line %1: the feed declares a document type, which it may not")
                        .arg(reader.lineNumber()));
            case QXmlStreamReader::StartElement: {
                if (path.size() == maximumAppcastDepth) {
                    throw UpdaterError::appcastParse(
                        QStringLiteral("line %1: elements are nested more than %2 deep")
                            .arg(reader.lineNumber())
                            .arg(maximumAppcastDepth));
                }
                path.append(nodeName(reader.namespaceUri(), reader.name()));
                if (!open.isEmpty() || isItemPath(path)) {
                    open.append(startNode(reader, path.last()));
                }
                break;
            }
            case QXmlStreamReader::Characters:
                if (!open.isEmpty()) {
                    open.last().text += reader.text();
                    if (open.size() > 2) {
                        open[1].text += reader.text();
                    }
                }
                break;
            case QXmlStreamReader::EndElement:
                path.removeLast();
                if (open.size() > 1) {
                    FeedNode node = open.takeLast();
                    open.last().children.append(std::move(node));
                } else if (open.size() == 1) {
                    if (items.size() == maximumAppcastItems) {
                        throw UpdaterError::appcastParse(
                            QStringLiteral("the feed has more than %1 items")
                                .arg(maximumAppcastItems));
                    }
                    items.append(open.takeLast());
                }
                break;
            default:
                break;
        }
    }
    if (reader.hasError()) {
        throw UpdaterError::appcastParse(QStringLiteral("line %1, column %2: %3")
                                             .arg(reader.lineNumber())
                                             .arg(reader.columnNumber())
                                             .arg(reader.errorString()));
    }
    return items;
}

}  // namespace

QList<FeedNode> readAppcastItemNodes(const QByteArray& bytes) {
    if (bytes.size() > maximumAppcastSize) {
        throw UpdaterError::appcastParse(
            QStringLiteral("the feed is larger than %1 bytes").arg(maximumAppcastSize));
    }
    // The reader reads text a third faster than bytes it decodes itself, so
    // a feed that is valid UTF-8 and says so comes as text. Any other keeps
    // the reader's own decoding, and its errors.
    if (declaresUtf8(bytes)) {
        const QString text = decodeStrictUtf8(bytes);
        if (!text.isNull()) {
            QXmlStreamReader reader(text);
            return readItemNodes(reader);
        }
    }
    QXmlStreamReader reader(bytes);
    return readItemNodes(reader);
}

}  // namespace tarnel
