#include "platform/appcast/bundle_manifest.h"

#include "platform/plain_file_reader.h"
#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"

namespace tarnel {

std::optional<BundleManifest> readBundleManifest(const QString& bundlePath) {
    const auto contents = readPlainFile(bundlePath + QStringLiteral("/Contents/Info.plist"),
                                        PropertyListLimits::maximumSize);
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
