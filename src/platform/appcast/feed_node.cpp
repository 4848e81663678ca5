#include "platform/appcast/feed_node.h"

namespace tarnel {

std::optional<QString> FeedNode::attribute(QStringView attributeName) const {
    for (const Attribute& candidate : attributes) {
        if (candidate.name == attributeName) {
            return candidate.value;
        }
    }
    return std::nullopt;
}

QList<const FeedNode*> FeedNode::childrenNamed(QStringView childName) const {
    QList<const FeedNode*> found;
    for (const FeedNode& child : children) {
        if (child.name == childName) {
            found.append(&child);
        }
    }
    return found;
}

}  // namespace tarnel
