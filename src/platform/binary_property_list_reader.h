#pragma once

#include "platform/property_list_entries.h"

#include <QByteArray>

namespace tarnel {

// Reads the root dictionary of a binary property list ("bplist00"). Throws
// PropertyListError as PropertyListDictionary::fromData tells.
PropertyListEntries readBinaryPropertyList(const QByteArray& data);

}  // namespace tarnel
