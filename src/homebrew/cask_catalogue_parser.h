#pragma once

#include "core/records/cask.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace simdjson::dom {
class object;
}

namespace tarnel {

// Maps the catalogue body, a JSON array of cask objects, to casks in the
// order of the array. Every field is read by a strict type test: a value of
// another type counts as absent, so one odd object costs only itself.
// Throws `JSONSyntaxError` for bytes that are not JSON and
// `CaskError::invalidAPIResponse` for JSON that is not an array of objects.
// App artifacts install into `applicationsDirectory`. Pure, so it may run
// on the worker pool.
QList<Cask> parseCaskCatalogue(const QByteArray& bytes, bool includeDeprecated,
                               const QString& applicationsDirectory);

// One catalogue object; nothing without a string `token` and `version`, and
// nothing for a deprecated or disabled cask unless `includeDeprecated`.
std::optional<Cask> parseCask(const simdjson::dom::object& object, bool includeDeprecated,
                              const QString& applicationsDirectory);

}  // namespace tarnel
