// An XML or binary property list, read as bundles are: a few keys and every
// text entry.
#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        const auto dictionary = tarnel::PropertyListDictionary::fromData(bytes);
        dictionary.contains("CFBundleIdentifier");
        dictionary.text("CFBundleShortVersionString");
        dictionary.boolean("SUEnableAutomaticChecks");
        dictionary.textEntries();
    } catch (const tarnel::PropertyListError&) {
    }
    return 0;
}
