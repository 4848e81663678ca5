#pragma once

#include "platform/property_list_entries.h"

#include <QByteArray>

namespace tarnel {

// Reads the root dictionary of an XML property list: UTF-8 unless a byte
// order mark says otherwise, whatever encoding it declares. Throws
// PropertyListError as PropertyListDictionary::fromData tells.
PropertyListEntries readXmlPropertyList(const QByteArray& data);

}  // namespace tarnel
