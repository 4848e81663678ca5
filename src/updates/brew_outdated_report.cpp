#include "updates/brew_outdated_report.h"

#include "homebrew/json_fields.h"
#include "homebrew/json_syntax_error.h"

#include <string_view>

namespace tarnel {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

using namespace std::string_view_literals;

OutdatedCaskEntry readEntry(const object& source) {
    OutdatedCaskEntry entry;
    entry.name = qStringIn(field(source, "name"sv));
    entry.installedVersions = optionalStringList(field(source, "installed_versions"sv));
    if (!entry.installedVersions) {
        if (const auto single = qStringIn(field(source, "installed_version"sv))) {
            entry.installedVersions = QStringList{*single};
        }
    }
    entry.latestVersion = qStringIn(field(source, "current_version"sv));
    if (!entry.latestVersion) {
        entry.latestVersion = qStringIn(field(source, "latest_version"sv));
    }
    return entry;
}

QList<OutdatedCaskEntry> readEntries(const array& entries) {
    QList<OutdatedCaskEntry> result;
    result.reserve(static_cast<qsizetype>(entries.size()));
    for (const element entry : entries) {
        result.append(readEntry(entry.get_object().value_unsafe()));
    }
    return result;
}

}  // namespace

BrewOutdatedReport BrewOutdatedReport::parse(const QByteArray& json) {
    simdjson::dom::parser parser;
    const element root = parseJsonRoot(json, parser);
    BrewOutdatedReport report;
    object rootObject;
    if (root.get(rootObject) == simdjson::SUCCESS) {
        if (const auto casks = arrayOfObjects(field(rootObject, "casks"sv))) {
            report.casks = readEntries(*casks);
        } else {
            report.shape = Shape::objectWithoutCasks;
            for (const auto member : rootObject) {
                report.rootKeys.append(toQString(member.key));
            }
        }
        return report;
    }
    if (root.type() != simdjson::dom::element_type::ARRAY) {
        // As a strict reader without fragments allowed would say.
        throw JSONSyntaxError(QStringLiteral("JSON text did not start with array or object"));
    }
    if (const auto casks = arrayOfObjects(root)) {
        report.casks = readEntries(*casks);
    } else {
        report.shape = Shape::unexpected;
    }
    return report;
}

}  // namespace tarnel
