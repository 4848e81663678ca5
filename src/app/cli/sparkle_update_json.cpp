#include "app/cli/sparkle_update_json.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

namespace tarnel {

QByteArray sparkleUpdateJson(const std::optional<SparkleUpdate>& update) {
    if (!update) {
        return QByteArrayLiteral("null\n");
    }
    const auto optionalText = [](const std::optional<QString>& text) {
        return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
    };
    const QJsonObject object{
        {QStringLiteral("id"), update->id},
        {QStringLiteral("applicationId"), update->applicationId},
        {QStringLiteral("bundleIdentifier"), update->bundleIdentifier},
        {QStringLiteral("feedURL"), update->feedURL},
        {QStringLiteral("currentVersion"), update->currentVersion},
        {QStringLiteral("availableVersion"), update->availableVersion},
        {QStringLiteral("releaseNotes"), optionalText(update->releaseNotes)},
        {QStringLiteral("downloadURL"), update->downloadURL},
        {QStringLiteral("requiresRestart"), update->requiresRestart},
        {QStringLiteral("publishedDate"),
         update->publishedDate ? QJsonValue(update->publishedDate->toUTC().toString(Qt::ISODate))
                               : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("fileSize"), update->fileSize
                                         ? QJsonValue(static_cast<qint64>(*update->fileSize))
                                         : QJsonValue(QJsonValue::Null)},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

}  // namespace tarnel
