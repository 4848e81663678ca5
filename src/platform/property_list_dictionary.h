#pragma once

#include "platform/property_list_entries.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace tarnel {

// The root dictionary of an XML or binary property list, read by key. Text
// and booleans are told apart; any other value only counts as present.
// Reading it from several threads at once is safe.
class PropertyListDictionary {
public:
    // Throws PropertyListError when the bytes are no property list, its
    // root is no dictionary, or it exceeds PropertyListLimits. Whatever the
    // bytes, the time and memory taken grow no faster than their length.
    static PropertyListDictionary fromData(const QByteArray& data);

    // Keys are UTF-8, as the format stores them.
    bool contains(const char* key) const;
    std::optional<QString> text(const char* key) const;
    std::optional<bool> boolean(const char* key) const;
    // Every entry whose value is text.
    QHash<QString, QString> textEntries() const;

private:
    explicit PropertyListDictionary(PropertyListEntries entries);
    template <typename Value>
    std::optional<Value> valueOf(const char* key) const;

    PropertyListEntries entries;
};

}  // namespace tarnel
