#pragma once

#include "platform/appcast/appcast_item.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QUrl>

namespace tarnel {

// A parsed update feed: its items in document order, and what was dropped
// on the way, for the log.
struct Appcast {
    QList<AppcastItem> items;
    QStringList warnings;
};

// Parses the bytes of a feed fetched from `feedURL`, the address after any
// redirects, against which relative addresses resolve. One item that cannot
// be built rejects the whole feed, as it does for the framework the feeds are
// written for. Throws `UpdaterError` `appcastParse`. Pure, so it may run on
// the worker pool.
Appcast parseAppcast(const QByteArray& bytes, const QUrl& feedURL,
                     const QStringList& preferredLanguages);

}  // namespace tarnel
