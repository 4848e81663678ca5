#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tarnel {

// One entry of the casks `brew outdated` reports, each field as found: a
// field of another type counts as absent.
struct OutdatedCaskEntry {
    std::optional<QString> name;
    // From "installed_versions", else a single "installed_version".
    std::optional<QStringList> installedVersions;
    // From "current_version", else "latest_version".
    std::optional<QString> latestVersion;
};

// The JSON of `brew outdated`, read into entries. Pure, so it may run on the
// worker pool.
struct BrewOutdatedReport {
    enum class Shape {
        // An object with a "casks" array of objects, or such an array as the root.
        casks,
        // An object whose "casks" is missing or of another type.
        objectWithoutCasks,
        // An array that holds something other than objects.
        unexpected,
    };

    Shape shape = Shape::casks;
    QList<OutdatedCaskEntry> casks;
    // The root object's keys in document order, for `objectWithoutCasks`.
    QStringList rootKeys;

    // Throws `JSONSyntaxError` for bytes that are not JSON, or JSON whose root
    // is neither an array nor an object.
    static BrewOutdatedReport parse(const QByteArray& json);
};

}  // namespace tarnel
