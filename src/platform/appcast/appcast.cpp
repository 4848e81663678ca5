#include "platform/appcast/appcast.h"

#include "platform/appcast/appcast_item_reader.h"
#include "platform/appcast/appcast_xml_reader.h"

namespace tarnel {

Appcast parseAppcast(const QByteArray& bytes, const QUrl& feedURL,
                     const QStringList& preferredLanguages) {
    Appcast appcast;
    const QList<FeedNode> nodes = readAppcastItemNodes(bytes);
    for (qsizetype index = 0; index < nodes.size(); ++index) {
        appcast.items.append(readAppcastItem(nodes[index], index + 1, feedURL, preferredLanguages,
                                             appcast.warnings));
    }
    return appcast;
}

}  // namespace tarnel
