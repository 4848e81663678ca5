#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <simdjson.h>

#include <optional>
#include <string_view>

namespace tarnel {

// Strict readers of JSON values: a value of another type counts as absent,
// so one odd field costs only itself.

QString toQString(std::string_view text);
std::optional<simdjson::dom::element> field(const simdjson::dom::object& source,
                                            std::string_view key);
std::optional<std::string_view> stringIn(std::optional<simdjson::dom::element> value);
std::optional<QString> qStringIn(std::optional<simdjson::dom::element> value);
// An array whose every entry has the given type; an empty array qualifies.
std::optional<simdjson::dom::array> arrayOf(std::optional<simdjson::dom::element> value,
                                            simdjson::dom::element_type type);
std::optional<simdjson::dom::array> arrayOfObjects(std::optional<simdjson::dom::element> value);
std::optional<simdjson::dom::array> arrayOfStrings(std::optional<simdjson::dom::element> value);
// The strings of an array of strings; nothing when the value is anything else.
std::optional<QStringList> optionalStringList(std::optional<simdjson::dom::element> value);

// Parses `bytes` (a leading byte order mark allowed) with `parser`, which
// owns the result. Throws `JSONSyntaxError` for bytes that are not JSON.
simdjson::dom::element parseJsonRoot(const QByteArray& bytes, simdjson::dom::parser& parser);

}  // namespace tarnel
