#include "platform/appcast/appcast_skip_store.h"

#include "platform/appcast/appcast_item.h"
#include "platform/appcast/appcast_item_state.h"
#include "platform/plain_file_reader.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QUrl>

#include <stdexcept>
#include <variant>

namespace tarnel {

AppcastSkipStore::AppcastSkipStore(QString dataDirectory)
    : folder(std::move(dataDirectory) + QStringLiteral("/update-feeds")) {}

QString AppcastSkipStore::fileFor(const QString& bundleIdentifier) const {
    // Percent-encoded, so that no identifier can name a path of its own.
    return folder + u'/' + QString::fromLatin1(QUrl::toPercentEncoding(bundleIdentifier)) +
           QStringLiteral(".json");
}

void AppcastSkipStore::recordSkip(const QString& bundleIdentifier, const AppcastItem& item,
                                  const AppcastItemState& state) const {
    QJsonObject answer;
    if (state.isMajorUpgrade) {
        answer.insert(QStringLiteral("skippedMajorVersion"), item.minimumAutoupdateVersion);
        answer.insert(QStringLiteral("skippedMajorSubreleaseVersion"), item.versionString);
    } else {
        answer.insert(QStringLiteral("skippedVersion"), item.versionString);
    }
    const QByteArray bytes = QJsonDocument(answer).toJson(QJsonDocument::Compact);
    const QString path = fileFor(bundleIdentifier);
    // Every check of an application answers again, mostly as before; a
    // rewrite would wait on the disk each time for nothing.
    const auto stored = readPlainFile(path, bytes.size());
    if (const auto* storedBytes = std::get_if<QByteArray>(&stored);
        storedBytes && *storedBytes == bytes) {
        return;
    }
    if (!QDir().mkpath(folder)) {
        throw std::runtime_error("The update data folder cannot be made");
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) < 0 || !file.commit()) {
        throw std::runtime_error("The skipped version cannot be saved");
    }
}

}  // namespace tarnel
