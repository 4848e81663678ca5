#include "platform/appcast/appcast_xml_reader.h"

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

}  // namespace

QList<FeedNode> readAppcastItemNodes(const QByteArray& bytes) {
    if (bytes.size() > maximumAppcastSize) {
        throw UpdaterError::appcastParse(
            QStringLiteral("the feed is larger than %1 bytes").arg(maximumAppcastSize));
    }
    QXmlStreamReader reader(bytes);
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

}  // namespace tarnel
