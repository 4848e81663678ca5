#include "app/cli/application_json.h"

#include <QJsonValue>

namespace tarnel {

namespace {

QJsonValue sparkleInfoJson(const std::optional<SparkleInfo>& info) {
    if (!info) {
        return QJsonValue::Null;
    }
    return QJsonObject{
        {QStringLiteral("feedURL"), info->feedURL},
        {QStringLiteral("publicKey"),
         info->publicKey ? QJsonValue(*info->publicKey) : QJsonValue::Null},
        {QStringLiteral("automaticallyUpdate"), info->automaticallyUpdate},
    };
}

}  // namespace

QJsonObject applicationJson(const Application& application) {
    return QJsonObject{
        {QStringLiteral("id"), application.id},
        {QStringLiteral("name"), application.name},
        {QStringLiteral("displayName"), application.displayName},
        {QStringLiteral("bundlePath"), application.bundlePath},
        {QStringLiteral("bundleIdentifier"), application.bundleIdentifier},
        {QStringLiteral("bundleVersion"), application.bundleVersion},
        {QStringLiteral("shortVersion"), application.shortVersion},
        {QStringLiteral("sparkleInfo"), sparkleInfoJson(application.sparkleInfo)},
    };
}

}  // namespace tarnel
