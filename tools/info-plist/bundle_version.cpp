#include "bundle_version.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

namespace tarnel {

namespace {

struct PlistDeleter {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPointer = std::unique_ptr<void, PlistDeleter>;

const char* const shortVersionKey = "CFBundleShortVersionString";
const char* const buildVersionKey = "CFBundleVersion";

QString infoPlistPath(const QString& bundlePath) {
    return QDir(bundlePath).filePath(QStringLiteral("Contents/Info.plist"));
}

std::optional<QString> stringAt(plist_t dictionary, const char* key) {
    plist_t node = plist_dict_get_item(dictionary, key);
    if (!node || plist_get_node_type(node) != PLIST_STRING) {
        return std::nullopt;
    }
    char* value = nullptr;
    plist_get_string_val(node, &value);
    const QString text = QString::fromUtf8(value);
    std::free(value);
    return text;
}

PlistPointer parse(const QByteArray& bytes) {
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    PlistPointer pointer(root);
    if (!root || plist_get_node_type(root) != PLIST_DICT) {
        return nullptr;
    }
    return pointer;
}

QByteArray serialise(plist_t root, bool isBinary) {
    char* data = nullptr;
    uint32_t length = 0;
    if (isBinary) {
        plist_to_bin(root, &data, &length);
    } else {
        plist_to_xml(root, &data, &length);
    }
    const QByteArray bytes(data, static_cast<qsizetype>(length));
    isBinary ? plist_to_bin_free(data) : plist_to_xml_free(data);
    return bytes;
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& bytes) {
    if (!QDir().mkpath(QFileInfo(path).path())) {
        return false;
    }
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) >= 0 && file.commit();
}

}  // namespace

std::optional<BundleVersion> readBundleVersion(const QString& bundlePath) {
    const PlistPointer root = parse(readFile(infoPlistPath(bundlePath)));
    if (!root) {
        return std::nullopt;
    }
    return BundleVersion{stringAt(root.get(), shortVersionKey).value_or(QString()),
                         stringAt(root.get(), buildVersionKey)};
}

bool writeBundleVersion(const QString& bundlePath, const BundleVersion& version) {
    const QString plistPath = infoPlistPath(bundlePath);
    const QByteArray existing = readFile(plistPath);
    const bool isBinary =
        plist_is_binary(existing.constData(), static_cast<uint32_t>(existing.size())) != 0;
    PlistPointer root = parse(existing);
    if (!root) {
        if (!existing.isEmpty()) {
            return false;
        }
        root.reset(plist_new_dict());
        const QByteArray name = QFileInfo(bundlePath).completeBaseName().toUtf8();
        plist_dict_set_item(root.get(), "CFBundleName", plist_new_string(name.constData()));
    }
    plist_dict_set_item(root.get(), shortVersionKey,
                        plist_new_string(version.shortVersion.toUtf8().constData()));
    if (version.buildVersion) {
        plist_dict_set_item(root.get(), buildVersionKey,
                            plist_new_string(version.buildVersion->toUtf8().constData()));
    }
    return writeFile(plistPath, serialise(root.get(), isBinary));
}

std::optional<QString> readInfoPlistText(const QString& bundlePath, const QString& key) {
    const PlistPointer root = parse(readFile(infoPlistPath(bundlePath)));
    return root ? stringAt(root.get(), key.toUtf8().constData()) : std::nullopt;
}

bool writeInfoPlistTexts(const QString& bundlePath, const QMap<QString, QString>& entries) {
    const QString plistPath = infoPlistPath(bundlePath);
    const QByteArray existing = readFile(plistPath);
    const bool isBinary =
        plist_is_binary(existing.constData(), static_cast<uint32_t>(existing.size())) != 0;
    const PlistPointer root = parse(existing);
    if (!root) {
        return false;
    }
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
        plist_dict_set_item(root.get(), entry.key().toUtf8().constData(),
                            plist_new_string(entry.value().toUtf8().constData()));
    }
    return writeFile(plistPath, serialise(root.get(), isBinary));
}

bool convertInfoPlistToBinary(const QString& bundlePath) {
    const QString plistPath = infoPlistPath(bundlePath);
    const PlistPointer root = parse(readFile(plistPath));
    return root && writeFile(plistPath, serialise(root.get(), true));
}

}  // namespace tarnel
