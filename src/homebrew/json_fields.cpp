#include "homebrew/json_fields.h"

#include "homebrew/json_syntax_error.h"

namespace tarnel {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::optional<element> field(const object& source, std::string_view key) {
    element value;
    if (source.at_key(key).get(value) == simdjson::SUCCESS) {
        return value;
    }
    return std::nullopt;
}

std::optional<std::string_view> stringIn(std::optional<element> value) {
    std::string_view text;
    if (value && value->get(text) == simdjson::SUCCESS) {
        return text;
    }
    return std::nullopt;
}

std::optional<QString> qStringIn(std::optional<element> value) {
    if (const auto text = stringIn(value)) {
        return toQString(*text);
    }
    return std::nullopt;
}

std::optional<array> arrayOf(std::optional<element> value, simdjson::dom::element_type type) {
    array entries;
    if (!value || value->get(entries) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    for (const element entry : entries) {
        if (entry.type() != type) {
            return std::nullopt;
        }
    }
    return entries;
}

std::optional<array> arrayOfObjects(std::optional<element> value) {
    return arrayOf(value, simdjson::dom::element_type::OBJECT);
}

std::optional<array> arrayOfStrings(std::optional<element> value) {
    return arrayOf(value, simdjson::dom::element_type::STRING);
}

std::optional<QStringList> optionalStringList(std::optional<element> value) {
    const auto entries = arrayOfStrings(value);
    if (!entries) {
        return std::nullopt;
    }
    QStringList result;
    for (const element entry : *entries) {
        result.append(toQString(entry.get_string().value_unsafe()));
    }
    return result;
}

element parseJsonRoot(const QByteArray& bytes, simdjson::dom::parser& parser) {
    // A byte order mark is valid before JSON text, but the reader refuses it.
    const QByteArrayView byteOrderMark("\xEF\xBB\xBF");
    const QByteArrayView text = bytes.startsWith(byteOrderMark)
                                    ? QByteArrayView(bytes).sliced(byteOrderMark.size())
                                    : QByteArrayView(bytes);
    // The reader scans past the end of its input, so it gets a padded copy.
    const simdjson::padded_string padded(text.data(), static_cast<size_t>(text.size()));
    element root;
    if (const auto error = parser.parse(padded).get(root); error != simdjson::SUCCESS) {
        throw JSONSyntaxError(QString::fromUtf8(simdjson::error_message(error)));
    }
    return root;
}

}  // namespace tarnel
