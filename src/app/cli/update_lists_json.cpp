#include "app/cli/update_lists_json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

namespace tarnel {

namespace {

QJsonObject updateJson(const BrewUpdate& update) {
    return QJsonObject{
        {QStringLiteral("id"), update.id},
        {QStringLiteral("applicationId"), update.applicationId},
        {QStringLiteral("bundleIdentifier"), update.bundleIdentifier},
        {QStringLiteral("caskName"), update.caskName},
        {QStringLiteral("currentVersion"), update.currentVersion},
        {QStringLiteral("availableVersion"), update.availableVersion},
        {QStringLiteral("updateType"), rawValue(update.updateType)},
    };
}

QJsonObject updateJson(const SparkleUpdate& update) {
    return QJsonObject{
        {QStringLiteral("id"), update.id},
        {QStringLiteral("applicationId"), update.applicationId},
        {QStringLiteral("bundleIdentifier"), update.bundleIdentifier},
        {QStringLiteral("feedURL"), update.feedURL},
        {QStringLiteral("currentVersion"), update.currentVersion},
        {QStringLiteral("availableVersion"), update.availableVersion},
        {QStringLiteral("releaseNotes"),
         update.releaseNotes ? QJsonValue(*update.releaseNotes) : QJsonValue::Null},
        {QStringLiteral("downloadURL"), update.downloadURL},
        {QStringLiteral("requiresRestart"), update.requiresRestart},
        {QStringLiteral("publishedDate"),
         update.publishedDate ? QJsonValue(update.publishedDate->toUTC().toString(Qt::ISODate))
                              : QJsonValue::Null},
        {QStringLiteral("fileSize"),
         update.fileSize ? QJsonValue(static_cast<qint64>(*update.fileSize)) : QJsonValue::Null},
    };
}

QJsonObject updateJson(const MASUpdate& update) {
    return QJsonObject{
        {QStringLiteral("id"), update.id},
        {QStringLiteral("appId"), update.appId},
        {QStringLiteral("appName"), update.appName},
        {QStringLiteral("currentVersion"), update.currentVersion},
        {QStringLiteral("availableVersion"), update.availableVersion},
    };
}

template <typename Update>
QJsonArray arrayOf(const QList<Update>& updates) {
    QJsonArray array;
    for (const Update& update : updates) {
        array.append(updateJson(update));
    }
    return array;
}

}  // namespace

QByteArray updateListsJson(const UpdateLists& updates) {
    const QJsonObject lists{
        {QStringLiteral("brewUpdates"), arrayOf(updates.brewUpdates)},
        {QStringLiteral("sparkleUpdates"), arrayOf(updates.sparkleUpdates)},
        {QStringLiteral("masUpdates"), arrayOf(updates.masUpdates)},
    };
    return QJsonDocument(lists).toJson(QJsonDocument::Indented);
}

}  // namespace tarnel
