#pragma once

#include <QHash>
#include <QString>

#include <variant>

namespace tarnel {

// What is kept of one value of a root dictionary: its text, its truth, or
// only that it is there.
using PropertyListValue = std::variant<std::monostate, QString, bool>;

// The entries of a root dictionary, by key.
using PropertyListEntries = QHash<QString, PropertyListValue>;

}  // namespace tarnel
