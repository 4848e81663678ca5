#include "platform/property_list_dictionary.h"

#include "platform/binary_property_list_reader.h"
#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"
#include "platform/xml_property_list_reader.h"

namespace tarnel {

PropertyListDictionary::PropertyListDictionary(PropertyListEntries entries)
    : entries(std::move(entries)) {}

PropertyListDictionary PropertyListDictionary::fromData(const QByteArray& data) {
    if (data.isEmpty()) {
        throw PropertyListError(PropertyListError::Case::malformed);
    }
    if (data.size() > PropertyListLimits::maximumSize) {
        throw PropertyListError(PropertyListError::Case::exceedsLimits);
    }
    return PropertyListDictionary(data.startsWith("bplist00") ? readBinaryPropertyList(data)
                                                              : readXmlPropertyList(data));
}

template <typename Value>
std::optional<Value> PropertyListDictionary::valueOf(const char* key) const {
    const auto found = entries.constFind(QString::fromUtf8(key));
    if (found == entries.cend() || !std::holds_alternative<Value>(*found)) {
        return std::nullopt;
    }
    return std::get<Value>(*found);
}

bool PropertyListDictionary::contains(const char* key) const {
    return entries.contains(QString::fromUtf8(key));
}

std::optional<QString> PropertyListDictionary::text(const char* key) const {
    return valueOf<QString>(key);
}

std::optional<bool> PropertyListDictionary::boolean(const char* key) const {
    return valueOf<bool>(key);
}

QHash<QString, QString> PropertyListDictionary::textEntries() const {
    QHash<QString, QString> texts;
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
        if (const auto* text = std::get_if<QString>(&entry.value())) {
            texts.insert(entry.key(), *text);
        }
    }
    return texts;
}

}  // namespace tarnel
