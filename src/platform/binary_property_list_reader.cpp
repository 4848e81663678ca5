#include "platform/binary_property_list_reader.h"

#include "platform/binary_property_list_layout.h"
#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"

#include <vector>

namespace tarnel {

namespace {

using Layout = BinaryPropertyListLayout;
using Type = Layout::Type;

bool isText(const Layout::Object& object) {
    return object.type == Type::ascii || object.type == Type::utf16;
}

bool isContainer(const Layout::Object& object) {
    return object.type == Type::array || object.type == Type::dictionary;
}

// A dictionary refers to its keys and to its values.
qsizetype referenceCount(const Layout::Object& object) {
    return object.type == Type::dictionary ? 2 * object.count : object.count;
}

// A container on the path from the root, and its next reference to follow.
struct PathStep {
    qsizetype index;
    Layout::Object object;
    qsizetype nextReference = 0;
};

enum class Visit : quint8 { unseen, open, done };

// Checks every object reachable from the root once, without recursion.
// Objects may be shared, as writers share equal values; a shared object is
// checked the first time only, so nothing is ever expanded. A reference
// back to an open container is a cycle.
void checkObjectGraph(const Layout& layout) {
    std::vector<Visit> visits(layout.objectCount(), Visit::unseen);
    std::vector<PathStep> path;
    const auto enter = [&](qsizetype index, bool isKey) {
        if (visits[index] == Visit::open) {
            throw PropertyListError(PropertyListError::Case::malformed);
        }
        const Layout::Object object = layout.object(index);
        if (isKey && !isText(object)) {
            throw PropertyListError(PropertyListError::Case::malformed);
        }
        if (visits[index] == Visit::done) {
            return;
        }
        if (!isContainer(object)) {
            visits[index] = Visit::done;
            return;
        }
        if (path.size() >= PropertyListLimits::maximumDepth) {
            throw PropertyListError(PropertyListError::Case::exceedsLimits);
        }
        visits[index] = Visit::open;
        path.push_back({index, object});
    };
    enter(layout.topObject(), false);
    while (!path.empty()) {
        PathStep& step = path.back();
        if (step.nextReference == referenceCount(step.object)) {
            visits[step.index] = Visit::done;
            path.pop_back();
            continue;
        }
        const qsizetype position = step.nextReference++;
        const bool isKey = step.object.type == Type::dictionary && position < step.object.count;
        enter(layout.reference(step.object, position), isKey);
    }
}

PropertyListValue valueOf(const Layout& layout, const Layout::Object& object) {
    if (isText(object)) {
        return layout.text(object);
    }
    if (object.type == Type::boolean) {
        return object.truth;
    }
    return {};
}

}  // namespace

PropertyListEntries readBinaryPropertyList(const QByteArray& data) {
    const Layout layout(data);
    checkObjectGraph(layout);
    const Layout::Object root = layout.object(layout.topObject());
    if (root.type != Type::dictionary) {
        throw PropertyListError(PropertyListError::Case::rootNotDictionary);
    }
    PropertyListEntries entries;
    for (qsizetype entry = 0; entry < root.count; ++entry) {
        const Layout::Object key = layout.object(layout.reference(root, entry));
        const Layout::Object value = layout.object(layout.reference(root, root.count + entry));
        entries.insert(layout.text(key), valueOf(layout, value));
    }
    return entries;
}

}  // namespace tarnel
