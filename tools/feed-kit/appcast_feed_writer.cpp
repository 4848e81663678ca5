#include "appcast_feed_writer.h"

#include <QLocale>
#include <QXmlStreamWriter>

namespace tarnel {

namespace {

const QString updateNamespace =
    QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

QString rfc822(const QDateTime& date) {
    return QLocale::c().toString(date.toUTC(), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss +0000"));
}

void writeRelease(QXmlStreamWriter& writer, const PublishedRelease& release) {
    writer.writeStartElement(QStringLiteral("item"));
    writer.writeTextElement(QStringLiteral("title"), release.title);
    if (release.publishedDate) {
        writer.writeTextElement(QStringLiteral("pubDate"), rfc822(*release.publishedDate));
    }
    writer.writeTextElement(updateNamespace, QStringLiteral("version"), release.version);
    writer.writeTextElement(updateNamespace, QStringLiteral("shortVersionString"),
                            release.shortVersion);
    if (!release.minimumSystemVersion.isEmpty()) {
        writer.writeTextElement(updateNamespace, QStringLiteral("minimumSystemVersion"),
                                release.minimumSystemVersion);
    }
    if (!release.description.isEmpty()) {
        writer.writeStartElement(QStringLiteral("description"));
        writer.writeCDATA(release.description);
        writer.writeEndElement();
    }
    writer.writeStartElement(QStringLiteral("enclosure"));
    writer.writeAttribute(QStringLiteral("url"), release.enclosureUrl);
    writer.writeAttribute(QStringLiteral("length"), QString::number(release.length));
    writer.writeAttribute(QStringLiteral("type"), QStringLiteral("application/octet-stream"));
    writer.writeAttribute(updateNamespace, QStringLiteral("edSignature"), release.edSignature);
    writer.writeEndElement();
    writer.writeEndElement();
}

}  // namespace

QByteArray writeAppcastFeed(const QString& title, const QList<PublishedRelease>& releases) {
    QByteArray feed;
    QXmlStreamWriter writer(&feed);
    writer.setAutoFormatting(true);
    writer.writeNamespace(updateNamespace, QStringLiteral("sparkle"));
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("rss"));
    writer.writeAttribute(QStringLiteral("version"), QStringLiteral("2.0"));
    writer.writeStartElement(QStringLiteral("channel"));
    writer.writeTextElement(QStringLiteral("title"), title);
    for (const PublishedRelease& release : releases) {
        writeRelease(writer, release);
    }
    writer.writeEndElement();
    writer.writeEndElement();
    writer.writeEndDocument();
    return feed;
}

}  // namespace tarnel
