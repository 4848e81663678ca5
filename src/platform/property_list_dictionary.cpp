#include "platform/property_list_dictionary.h"

#include "platform/property_list_error.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <limits>

namespace tarnel {

namespace {

std::optional<QString> textOf(plist_t node) {
    if (!PLIST_IS_STRING(node)) {
        return std::nullopt;
    }
    uint64_t length = 0;
    const char* bytes = plist_get_string_ptr(node, &length);
    return QString::fromUtf8(bytes, static_cast<qsizetype>(length));
}

}  // namespace

void PropertyListDictionary::NodeRelease::operator()(void* node) const {
    plist_free(node);
}

PropertyListDictionary::PropertyListDictionary(void* root) : root(root) {}

PropertyListDictionary PropertyListDictionary::fromData(const QByteArray& data) {
    // The parser takes a 32-bit length; nothing that large is a real bundle file.
    if (data.isEmpty() || data.size() > std::numeric_limits<uint32_t>::max()) {
        throw PropertyListError(PropertyListError::Case::malformed);
    }
    plist_t node = nullptr;
    plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &node);
    if (!node) {
        throw PropertyListError(PropertyListError::Case::malformed);
    }
    PropertyListDictionary dictionary(node);
    if (!PLIST_IS_DICT(node)) {
        throw PropertyListError(PropertyListError::Case::rootNotDictionary);
    }
    return dictionary;
}

void* PropertyListDictionary::item(const char* key) const {
    return plist_dict_get_item(root.get(), key);
}

bool PropertyListDictionary::contains(const char* key) const {
    return item(key) != nullptr;
}

std::optional<QString> PropertyListDictionary::text(const char* key) const {
    return textOf(item(key));
}

std::optional<bool> PropertyListDictionary::boolean(const char* key) const {
    plist_t node = item(key);
    if (!PLIST_IS_BOOLEAN(node)) {
        return std::nullopt;
    }
    uint8_t value = 0;
    plist_get_bool_val(node, &value);
    return value != 0;
}

QHash<QString, QString> PropertyListDictionary::textEntries() const {
    QHash<QString, QString> entries;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(root.get(), &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root.get(), iterator, &key, &value);
        if (!value) {
            std::free(key);
            break;
        }
        if (const auto text = textOf(value)) {
            entries.insert(QString::fromUtf8(key), *text);
        }
        std::free(key);
    }
    std::free(iterator);
    return entries;
}

}  // namespace tarnel
