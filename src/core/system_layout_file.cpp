#include "core/system_layout_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <functional>
#include <optional>

namespace tarnel {

namespace {

// A layout names a few dozen paths; anything far larger is not one.
constexpr qint64 maximumFileSize = 1024 * 1024;

constexpr char catalogueUrlKey[] = "catalogueUrl";

// Places (folders, files, programs, addresses) must be named by every file:
// one left out would send the program to the real machine's. The other keys
// only tune behaviour, and keep the value of a real installation when left out.
enum class KeyKind { place, tuning };

// One key of the file: how its value is read into a layout, which fails on a
// value of the wrong type, and how it is written from one.
struct LayoutKey {
    QString name;
    KeyKind kind;
    QString expected;
    std::function<bool(const QJsonValue& value, const QDir& base, SystemLayout& layout)> read;
    std::function<QJsonValue(const SystemLayout& layout)> write;
};

QString resolved(const QDir& base, const QString& path) {
    return path.isEmpty() ? path : QDir::cleanPath(base.absoluteFilePath(path));
}

std::optional<QStringList> textList(const QJsonValue& value) {
    if (!value.isArray()) {
        return std::nullopt;
    }
    QStringList texts;
    for (const QJsonValue& entry : value.toArray()) {
        if (!entry.isString()) {
            return std::nullopt;
        }
        texts.append(entry.toString());
    }
    return texts;
}

LayoutKey pathKey(const char* name, QString SystemLayout::*field) {
    return {QString::fromLatin1(name), KeyKind::place, QStringLiteral("a path"),
            [field](const QJsonValue& value, const QDir& base, SystemLayout& layout) {
                if (!value.isString()) {
                    return false;
                }
                layout.*field = resolved(base, value.toString());
                return true;
            },
            [field](const SystemLayout& layout) { return QJsonValue(layout.*field); }};
}

LayoutKey pathListKey(const char* name, QStringList SystemLayout::*field) {
    return {QString::fromLatin1(name), KeyKind::place, QStringLiteral("a list of paths"),
            [field](const QJsonValue& value, const QDir& base, SystemLayout& layout) {
                const std::optional<QStringList> paths = textList(value);
                if (!paths) {
                    return false;
                }
                (layout.*field).clear();
                for (const QString& path : *paths) {
                    (layout.*field).append(resolved(base, path));
                }
                return true;
            },
            [field](const SystemLayout& layout) {
                return QJsonValue(QJsonArray::fromStringList(layout.*field));
            }};
}

// An address, or the empty text where there is none yet.
LayoutKey urlKey(const char* name, QUrl SystemLayout::*field) {
    return {QString::fromLatin1(name), KeyKind::place, QStringLiteral("an address or empty text"),
            [field](const QJsonValue& value, const QDir&, SystemLayout& layout) {
                const QUrl url(value.toString(), QUrl::StrictMode);
                if (!value.isString() || (!url.isEmpty() && !url.isValid())) {
                    return false;
                }
                layout.*field = url;
                return true;
            },
            [field](const SystemLayout& layout) { return QJsonValue((layout.*field).toString()); }};
}

LayoutKey textKey(const char* name, QString SystemLayout::*field) {
    return {QString::fromLatin1(name), KeyKind::tuning, QStringLiteral("a text"),
            [field](const QJsonValue& value, const QDir&, SystemLayout& layout) {
                if (value.isString()) {
                    layout.*field = value.toString();
                }
                return value.isString();
            },
            [field](const SystemLayout& layout) { return QJsonValue(layout.*field); }};
}

LayoutKey textListKey(const char* name, QStringList SystemLayout::*field) {
    return {QString::fromLatin1(name), KeyKind::tuning, QStringLiteral("a list of texts"),
            [field](const QJsonValue& value, const QDir&, SystemLayout& layout) {
                const std::optional<QStringList> texts = textList(value);
                if (texts) {
                    layout.*field = *texts;
                }
                return texts.has_value();
            },
            [field](const SystemLayout& layout) {
                return QJsonValue(QJsonArray::fromStringList(layout.*field));
            }};
}

const QList<LayoutKey>& layoutKeys() {
    static const QList<LayoutKey> keys{
        pathKey("applicationsDirectory", &SystemLayout::applicationsDirectory),
        pathListKey("brewCandidates", &SystemLayout::brewCandidates),
        pathListKey("masCandidates", &SystemLayout::masCandidates),
        urlKey(catalogueUrlKey, &SystemLayout::catalogueUrl),
        pathKey("homeDirectory", &SystemLayout::homeDirectory),
        pathKey("temporaryDirectory", &SystemLayout::temporaryDirectory),
        pathKey("desktopDirectory", &SystemLayout::desktopDirectory),
        pathKey("extraTrustedCertificates", &SystemLayout::extraTrustedCertificates),
        pathKey("settingsFile", &SystemLayout::settingsFile),
        pathKey("askpassDialogProgram", &SystemLayout::askpassDialogProgram),
        pathKey("dataDirectory", &SystemLayout::dataDirectory),
        textListKey("preferredLanguages", &SystemLayout::preferredLanguages),
        textKey("systemVersion", &SystemLayout::systemVersion),
    };
    return keys;
}

QString jsonTypeName(const QJsonDocument& document) {
    if (document.isArray()) {
        return QStringLiteral("an array");
    }
    return document.isNull() ? QStringLiteral("nothing") : QStringLiteral("a single value");
}

QJsonObject readLayoutObject(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw SystemLayoutFileError(
            QStringLiteral("Cannot read the layout file %1: %2").arg(path, file.errorString()));
    }
    const QByteArray bytes = file.read(maximumFileSize + 1);
    if (bytes.size() > maximumFileSize) {
        throw SystemLayoutFileError(
            QStringLiteral("The layout file %1 is larger than %2 bytes; a layout is far smaller")
                .arg(path)
                .arg(maximumFileSize));
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        throw SystemLayoutFileError(
            QStringLiteral("The layout file %1 is not valid JSON: %2 at offset %3")
                .arg(path, parseError.errorString())
                .arg(parseError.offset));
    }
    if (!document.isObject()) {
        throw SystemLayoutFileError(
            QStringLiteral("The layout file %1 holds %2; a layout is a JSON object of its keys")
                .arg(path, jsonTypeName(document)));
    }
    return document.object();
}

void writeLayoutObject(const QJsonObject& object, const QString& path) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(object).toJson()) < 0 ||
        !file.commit()) {
        throw SystemLayoutFileError(
            QStringLiteral("Cannot write the layout file %1: %2").arg(path, file.errorString()));
    }
}

// Every place must be named and every key known, so that no typing error
// falls back silently to the real machine.
void checkKeys(const QJsonObject& object, const QString& path) {
    QStringList missing;
    QStringList known;
    for (const LayoutKey& key : layoutKeys()) {
        known.append(key.name);
        if (key.kind == KeyKind::place && !object.contains(key.name)) {
            missing.append(key.name);
        }
    }
    if (!missing.isEmpty()) {
        throw SystemLayoutFileError(
            QStringLiteral("The layout file %1 does not name %2; a layout must name every "
                           "folder, file, program and address itself")
                .arg(path, missing.join(QStringLiteral(", "))));
    }
    QStringList unknown;
    for (const QString& name : object.keys()) {
        if (!known.contains(name)) {
            unknown.append(name);
        }
    }
    if (!unknown.isEmpty()) {
        throw SystemLayoutFileError(QStringLiteral("The layout file %1 has unknown keys: %2")
                                        .arg(path, unknown.join(QStringLiteral(", "))));
    }
}

}  // namespace

SystemLayout readSystemLayoutFile(const QString& path) {
    const QJsonObject object = readLayoutObject(path);
    checkKeys(object, path);
    const QDir base = QFileInfo(path).absoluteDir();
    const SystemLayout production = SystemLayout::production();
    SystemLayout layout;
    for (const LayoutKey& key : layoutKeys()) {
        const QJsonValue value =
            object.contains(key.name) ? object.value(key.name) : key.write(production);
        if (!key.read(value, base, layout)) {
            throw SystemLayoutFileError(QStringLiteral("The layout file %1 gives %2 a value that "
                                                       "is not %3")
                                            .arg(path, key.name, key.expected));
        }
    }
    return layout;
}

void writeSystemLayoutFile(const SystemLayout& layout, const QString& path) {
    QJsonObject object;
    for (const LayoutKey& key : layoutKeys()) {
        object.insert(key.name, key.write(layout));
    }
    writeLayoutObject(object, path);
}

void writeSystemLayoutCatalogueUrl(const QString& path, const QUrl& catalogueUrl) {
    QJsonObject object = readLayoutObject(path);
    object.insert(QLatin1String(catalogueUrlKey), catalogueUrl.toString());
    writeLayoutObject(object, path);
}

}  // namespace tarnel
