#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

// Catalogues for discovery tests, made from the shared catalogue's own casks.

QString sharedCatalogueFile();
// The shared catalogue's cask with this token; fails the test when there is none.
QJsonObject catalogueCask(const QString& token);
// The shared catalogue with `changed` in place of the cask with its token.
QByteArray sharedCatalogueWith(const QJsonObject& changed);
QByteArray catalogueOf(const QList<QJsonObject>& casks);
// Writes `bytes` to `path` and gives the path.
QString writtenCatalogue(const QString& path, const QByteArray& bytes);
