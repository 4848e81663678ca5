#pragma once

#include "core/system_layout.h"

#include <QString>

#include <stdexcept>

namespace tarnel {

// A layout written to a JSON file, so that a sandbox can describe its
// simulated machine to the command-line program and to tests. Relative paths
// in the file are taken from the file's folder.
//
// The file is one JSON object. It must name every place of the layout: each
// folder, file, program and address (`preferredLanguages` alone may be left
// out, and then keeps the value of a real installation). A file that leaves a
// place out, names a key that is unknown, or gives a value of the wrong type
// is refused with an error that names the keys, never completed with the real
// machine's paths. An empty `catalogueUrl` means that there is no catalogue
// address yet.
class SystemLayoutFileError : public std::runtime_error {
public:
    explicit SystemLayoutFileError(const QString& message)
        : std::runtime_error(message.toStdString()) {}
};

SystemLayout readSystemLayoutFile(const QString& path);
void writeSystemLayoutFile(const SystemLayout& layout, const QString& path);
// Replaces the catalogue address in the file and leaves its other keys as
// they are written; the file is replaced whole, never half written.
void writeSystemLayoutCatalogueUrl(const QString& path, const QUrl& catalogueUrl);

}  // namespace tarnel
