#include "core/system_layout_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace tarnel {

namespace {

QString resolved(const QDir& base, const QString& path) {
    return path.isEmpty() ? path : QDir::cleanPath(base.absoluteFilePath(path));
}

QStringList resolvedList(const QDir& base, const QJsonValue& value) {
    QStringList paths;
    for (const QJsonValue& entry : value.toArray()) {
        paths.append(resolved(base, entry.toString()));
    }
    return paths;
}

QJsonArray toArray(const QStringList& list) {
    return QJsonArray::fromStringList(list);
}

}  // namespace

SystemLayout readSystemLayoutFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw SystemLayoutFileError(
            QStringLiteral("Cannot read the layout file %1: %2").arg(path, file.errorString()));
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        throw SystemLayoutFileError(QStringLiteral("The layout file %1 is not a JSON object: %2")
                                        .arg(path, parseError.errorString()));
    }
    const QJsonObject object = document.object();
    const QDir base = QFileInfo(path).absoluteDir();
    // Keys the file leaves out keep the values of a real installation.
    SystemLayout layout = SystemLayout::production();
    const auto readPath = [&](const char* key, QString& field) {
        if (object.contains(QLatin1String(key))) {
            field = resolved(base, object.value(QLatin1String(key)).toString());
        }
    };
    const auto readPaths = [&](const char* key, QStringList& field) {
        if (object.contains(QLatin1String(key))) {
            field = resolvedList(base, object.value(QLatin1String(key)));
        }
    };
    readPath("applicationsDirectory", layout.applicationsDirectory);
    readPaths("brewCandidates", layout.brewCandidates);
    readPaths("masCandidates", layout.masCandidates);
    if (object.contains(QLatin1String("catalogueUrl"))) {
        layout.catalogueUrl = QUrl(object.value(QLatin1String("catalogueUrl")).toString());
    }
    readPath("homeDirectory", layout.homeDirectory);
    readPath("temporaryDirectory", layout.temporaryDirectory);
    readPath("desktopDirectory", layout.desktopDirectory);
    readPath("extraTrustedCertificates", layout.extraTrustedCertificates);
    readPath("settingsFile", layout.settingsFile);
    readPath("askpassDialogProgram", layout.askpassDialogProgram);
    if (object.contains(QLatin1String("preferredLanguages"))) {
        layout.preferredLanguages.clear();
        for (const QJsonValue& language :
             object.value(QLatin1String("preferredLanguages")).toArray()) {
            layout.preferredLanguages.append(language.toString());
        }
    }
    return layout;
}

void writeSystemLayoutFile(const SystemLayout& layout, const QString& path) {
    const QJsonObject object{
        {QStringLiteral("applicationsDirectory"), layout.applicationsDirectory},
        {QStringLiteral("brewCandidates"), toArray(layout.brewCandidates)},
        {QStringLiteral("masCandidates"), toArray(layout.masCandidates)},
        {QStringLiteral("catalogueUrl"), layout.catalogueUrl.toString()},
        {QStringLiteral("homeDirectory"), layout.homeDirectory},
        {QStringLiteral("temporaryDirectory"), layout.temporaryDirectory},
        {QStringLiteral("desktopDirectory"), layout.desktopDirectory},
        {QStringLiteral("extraTrustedCertificates"), layout.extraTrustedCertificates},
        {QStringLiteral("settingsFile"), layout.settingsFile},
        {QStringLiteral("askpassDialogProgram"), layout.askpassDialogProgram},
        {QStringLiteral("preferredLanguages"), toArray(layout.preferredLanguages)},
    };
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        throw SystemLayoutFileError(
            QStringLiteral("Cannot write the layout file %1: %2").arg(path, file.errorString()));
    }
    file.write(QJsonDocument(object).toJson());
    if (!file.commit()) {
        throw SystemLayoutFileError(
            QStringLiteral("Cannot write the layout file %1: %2").arg(path, file.errorString()));
    }
}

}  // namespace tarnel
