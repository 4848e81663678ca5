#include "app/cli/application_json.h"

#include <QJsonArray>
#include <QJsonDocument>
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

QJsonObject caskJson(const Cask& cask) {
    return QJsonObject{{QStringLiteral("name"), cask.name},
                       {QStringLiteral("confidence"), cask.confidence}};
}

QJsonValue masAppJson(const std::optional<MASApp>& app) {
    if (!app) {
        return QJsonValue::Null;
    }
    return QJsonObject{{QStringLiteral("id"), app->id},
                       {QStringLiteral("name"), app->name},
                       {QStringLiteral("version"), app->version}};
}

}  // namespace

QJsonObject bundleJson(const Application& application) {
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

QJsonObject matchJson(const Application& application) {
    QJsonObject object = bundleJson(application);
    QJsonArray options;
    for (const Cask& option : application.caskOptions) {
        options.append(caskJson(option));
    }
    object.insert(QStringLiteral("caskOptions"), options);
    object.insert(QStringLiteral("adoptedCask"),
                  application.adoptedCask ? QJsonValue(caskJson(*application.adoptedCask))
                                          : QJsonValue::Null);
    return object;
}

QJsonObject applicationJson(const Application& application) {
    QJsonObject object = matchJson(application);
    object.insert(QStringLiteral("excluded"), application.excluded);
    object.insert(QStringLiteral("alreadyAdopted"), application.alreadyAdopted);
    object.insert(QStringLiteral("masApp"), masAppJson(application.masApp));
    return object;
}

QByteArray jsonArrayText(const QList<Application>& applications,
                         QJsonObject (*form)(const Application&)) {
    QJsonArray array;
    for (const Application& application : applications) {
        array.append(form(application));
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

}  // namespace tarnel
