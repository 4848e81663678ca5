#pragma once

#include "platform/appcast/feed_node.h"

#include <QByteArray>
#include <QList>

namespace tarnel {

// Limits on what a feed may ask of the reader. Real feeds are a few hundred
// kilobytes at most, with tens of items and five levels of elements.
inline constexpr qsizetype maximumAppcastSize = 8 * 1024 * 1024;
inline constexpr qsizetype maximumAppcastItems = 10'000;
inline constexpr qsizetype maximumAppcastDepth = 32;

// The `<item>` elements at /rss/channel/item, in document order; the rest of
// the document is read only to be checked. Nothing is fetched and no entity
// is expanded beyond the predefined ones: a document type declaration, an
// undeclared entity or prefix, or XML that is not well-formed throws
// `UpdaterError` `appcastParse` quoting the parser's line and column, as does
// a document past one of the limits above.
QList<FeedNode> readAppcastItemNodes(const QByteArray& bytes);

}  // namespace tarnel
