#include "platform/appcast/bundle_manifest.h"

#include "platform/plain_file_reader.h"
#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"

#include <QFile>

#include <sys/stat.h>

namespace tarnel {

namespace {

// Far above any real Info.plist; an update's bundle is untrusted input.
constexpr qint64 maximumInfoPlistSize = 4 * 1024 * 1024;

}  // namespace

std::optional<BundleManifest> readBundleManifest(const QString& bundlePath) {
    const QString path = bundlePath + QStringLiteral("/Contents/Info.plist");
    struct stat status {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0 ||
        status.st_size > maximumInfoPlistSize) {
        return std::nullopt;
    }
    const auto contents = readPlainFile(path);
    if (!std::holds_alternative<QByteArray>(contents)) {
        return std::nullopt;
    }
    try {
        const auto plist = PropertyListDictionary::fromData(std::get<QByteArray>(contents));
        return BundleManifest{
            .identifier = plist.text("CFBundleIdentifier").value_or(QString()),
            .version = plist.text("CFBundleVersion").value_or(QString()),
            .name = plist.text("CFBundleName").value_or(QString()),
            .publicEdKey = plist.text("SUPublicEDKey"),
            .hasDsaKey = plist.text("SUPublicDSAKey").has_value() ||
                         plist.text("SUPublicDSAKeyFile").has_value(),
        };
    } catch (const PropertyListError&) {
        return std::nullopt;
    }
}

}  // namespace tarnel
