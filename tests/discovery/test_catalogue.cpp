#include "test_catalogue.h"

#include "bundle_workshop.h"
#include "support/test_paths.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace {

const QJsonArray& sharedCasks() {
    static const QJsonArray casks = [] {
        QFile file(sharedCatalogueFile());
        if (!file.open(QIODevice::ReadOnly)) {
            ADD_FAILURE() << "cannot read the shared catalogue";
            return QJsonArray();
        }
        return QJsonDocument::fromJson(file.readAll()).array();
    }();
    return casks;
}

}  // namespace

QString sharedCatalogueFile() {
    return sharedDir() + QStringLiteral("/data/catalogue.json");
}

QJsonObject catalogueCask(const QString& token) {
    for (const QJsonValue& cask : sharedCasks()) {
        if (cask[QStringLiteral("token")].toString() == token) {
            return cask.toObject();
        }
    }
    ADD_FAILURE() << "the shared catalogue has no cask " << token.toStdString();
    return {};
}

QByteArray sharedCatalogueWith(const QJsonObject& changed) {
    const QString token = changed[QStringLiteral("token")].toString();
    QJsonArray casks = sharedCasks();
    for (qsizetype index = 0; index < casks.size(); ++index) {
        if (casks[index][QStringLiteral("token")].toString() == token) {
            casks[index] = changed;
        }
    }
    return QJsonDocument(casks).toJson(QJsonDocument::Compact);
}

QByteArray catalogueOf(const QList<QJsonObject>& casks) {
    QJsonArray array;
    for (const QJsonObject& cask : casks) {
        array.append(cask);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QString writtenCatalogue(const QString& path, const QByteArray& bytes) {
    writeFile(path, bytes);
    return path;
}
