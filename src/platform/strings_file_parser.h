#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace tarnel {

// Reads a localized ".strings" table as bundles ship it: the old text form
// (`"key" = "value";`, comments, escapes) in UTF-8 or UTF-16, or an XML or
// binary property list. Absent when the bytes are none of these.
std::optional<QHash<QString, QString>> parseStringsFile(const QByteArray& data);

}  // namespace tarnel
