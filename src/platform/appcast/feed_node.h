#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace tarnel {

// One element of a feed item, read out of the XML so that the item can be
// built from plain values. Elements and attributes of the Sparkle namespace
// are named "sparkle:" plus their local name whatever prefix the feed bound
// to it; those of no namespace by their name; any other by "{uri}name", so
// that no prefix can pass for the Sparkle namespace.
struct FeedNode {
    struct Attribute {
        QString name;
        QString value;
    };

    QString name;
    QList<Attribute> attributes;
    // The element's own text; a direct child of an item also gathers the
    // text of everything inside it.
    QString text;
    QList<FeedNode> children;

    std::optional<QString> attribute(QStringView attributeName) const;
    // The direct children of this name, in document order.
    QList<const FeedNode*> childrenNamed(QStringView childName) const;
};

}  // namespace tarnel
