#include "test_property_list.h"

#include <plist/plist.h>

#include <stdexcept>

void TestPropertyList::NodeRelease::operator()(void* node) const {
    plist_free(node);
}

TestPropertyList::TestPropertyList() : root(plist_new_dict()) {}

TestPropertyList TestPropertyList::fromData(const QByteArray& data) {
    plist_t node = nullptr;
    plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &node);
    if (!PLIST_IS_DICT(node)) {
        plist_free(node);
        throw std::invalid_argument("not a property-list dictionary");
    }
    TestPropertyList list;
    list.root.reset(node);
    return list;
}

TestPropertyList& TestPropertyList::text(const char* key, const QString& value) {
    plist_dict_set_item(root.get(), key, plist_new_string(value.toUtf8().constData()));
    return *this;
}

TestPropertyList& TestPropertyList::boolean(const char* key, bool value) {
    plist_dict_set_item(root.get(), key, plist_new_bool(value ? 1 : 0));
    return *this;
}

TestPropertyList& TestPropertyList::integer(const char* key, qint64 value) {
    plist_dict_set_item(root.get(), key, plist_new_uint(static_cast<uint64_t>(value)));
    return *this;
}

TestPropertyList& TestPropertyList::remove(const char* key) {
    plist_dict_remove_item(root.get(), key);
    return *this;
}

namespace {

template <typename Write, typename Release>
QByteArray serialized(plist_t root, Write write, Release release) {
    char* bytes = nullptr;
    uint32_t length = 0;
    write(root, &bytes, &length);
    QByteArray result(bytes, length);
    release(bytes);
    return result;
}

}  // namespace

QByteArray TestPropertyList::xml() const {
    return serialized(root.get(), plist_to_xml, plist_to_xml_free);
}

QByteArray TestPropertyList::binary() const {
    return serialized(root.get(), plist_to_bin, plist_to_bin_free);
}
