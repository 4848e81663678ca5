#pragma once

#include "core/records/cask.h"
#include "homebrew/cask_catalogue_parser.h"
#include "homebrew/cask_index.h"
#include "support/test_paths.h"

#include <QFile>

#include <memory>
#include <stdexcept>

// The real catalogue data beside the repository, read as the service would
// receive it.
inline QString catalogueDataDir() {
    return sharedDir() + QStringLiteral("/data");
}

inline QByteArray readCatalogueData(const QString& relativePath) {
    QFile file(catalogueDataDir() + u'/' + relativePath);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("missing test data: " + relativePath.toStdString());
    }
    return file.readAll();
}

// One published cask object, wrapped into a catalogue of one.
inline QByteArray singleCaskCatalogue(const QString& fileName) {
    return '[' + readCatalogueData(QStringLiteral("casks/") + fileName) + ']';
}

inline tarnel::Cask sharedCask(const QString& fileName) {
    const QList<tarnel::Cask> casks = tarnel::parseCaskCatalogue(
        singleCaskCatalogue(fileName), true, QStringLiteral("/Applications"));
    if (casks.size() != 1) {
        throw std::runtime_error("cask file did not map: " + fileName.toStdString());
    }
    return casks.first();
}

// The full catalogue, without deprecated or disabled casks, as discovery
// matches against it.
inline std::shared_ptr<const tarnel::CaskIndex> catalogueIndex() {
    return std::make_shared<const tarnel::CaskIndex>(
        tarnel::parseCaskCatalogue(readCatalogueData(QStringLiteral("catalogue.json")), false,
                                   QStringLiteral("/Applications")));
}
