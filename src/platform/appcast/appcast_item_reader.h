#pragma once

#include "platform/appcast/appcast_item.h"
#include "platform/appcast/feed_node.h"

#include <QStringList>
#include <QUrl>

namespace tarnel {

// Builds the item of one `<item>` element, the `itemNumber`-th of the feed
// counting from 1. Relative addresses resolve against `feedURL`, the address
// the feed finally came from; among copies of an element in several
// languages the one best matching `preferredLanguages` is read. Fields that
// are merely wrong are dropped with a line in `warnings`; an item that cannot
// be built (no version, neither enclosure nor link, an enclosure address that
// is not http or https, an unknown installation type) throws `UpdaterError`
// `appcastParse`, since one such item rejects the whole feed.
AppcastItem readAppcastItem(const FeedNode& item, qsizetype itemNumber, const QUrl& feedURL,
                            const QStringList& preferredLanguages, QStringList& warnings);

}  // namespace tarnel
