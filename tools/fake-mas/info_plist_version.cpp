#include "info_plist_version.h"

#include <QFile>
#include <QSaveFile>

#include <memory>
#include <stdexcept>

#include <plist/plist.h>

namespace tarnel::fakemas {

namespace {

[[noreturn]] void fail(const QString& message) {
    throw std::runtime_error(message.toStdString());
}

QByteArray serialise(plist_t root, bool asBinary) {
    char* data = nullptr;
    uint32_t length = 0;
    if (asBinary) {
        plist_to_bin(root, &data, &length);
    } else {
        plist_to_xml(root, &data, &length);
    }
    QByteArray bytes(data, static_cast<qsizetype>(length));
    if (asBinary) {
        plist_to_bin_free(data);
    } else {
        plist_to_xml_free(data);
    }
    return bytes;
}

}  // namespace

void writeBundleVersion(const QString& bundlePath, const QString& version) {
    const QString path = bundlePath + QStringLiteral("/Contents/Info.plist");
    QFile input(path);
    if (!input.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("cannot read %1: %2").arg(path, input.errorString()));
    }
    const QByteArray original = input.readAll();
    input.close();

    plist_t parsed = nullptr;
    plist_from_memory(original.constData(), static_cast<uint32_t>(original.size()), &parsed);
    const std::unique_ptr<void, void (*)(plist_t)> root(parsed, plist_free);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        fail(QStringLiteral("%1 is not a property list dictionary").arg(path));
    }
    plist_dict_set_item(root.get(), "CFBundleShortVersionString",
                        plist_new_string(version.toUtf8().constData()));
    const bool isBinary =
        plist_is_binary(original.constData(), static_cast<uint32_t>(original.size())) != 0;

    QSaveFile output(path);
    if (!output.open(QIODevice::WriteOnly) || output.write(serialise(root.get(), isBinary)) < 0 ||
        !output.commit()) {
        fail(QStringLiteral("cannot write %1: %2").arg(path, output.errorString()));
    }
}

}  // namespace tarnel::fakemas
