#include "platform/bundle_localized_name.h"

#include "core/file_name_encoding.h"
#include "platform/file_descriptor.h"
#include "platform/plain_file_reader.h"
#include "platform/property_list_limits.h"
#include "platform/strings_file_parser.h"

#include <QFileInfo>

#include <fcntl.h>

namespace tarnel {

namespace {

// The resource folders to try, in order: for "de-CH" these are "de-CH",
// "de_CH" and "de".
QStringList resourceFolderNames(const QStringList& languages) {
    QStringList names;
    for (const QString& language : languages) {
        QString underscored = language;
        underscored.replace(u'-', u'_');
        names << language << underscored << underscored.section(u'_', 0, 0);
    }
    names.removeIf([](const QString& name) { return name.isEmpty() || name.contains(u'/'); });
    names.removeDuplicates();
    return names;
}

std::optional<QString> declaredName(const QByteArray& strings) {
    const auto table = parseStringsFile(strings);
    if (!table) {
        return std::nullopt;
    }
    for (const QString& key :
         {QStringLiteral("CFBundleDisplayName"), QStringLiteral("CFBundleName")}) {
        const QString name = table->value(key);
        if (!name.isEmpty()) {
            return name;
        }
    }
    return std::nullopt;
}

}  // namespace

// Nothing here shows bundles by another name, so the name as shown is the file
// name, unless the bundle declares a name for one of the user's languages.
// Known from the path alone, it is never absent.
std::optional<QString> bundleLocalizedName(const QString& bundlePath,
                                           const QStringList& preferredLanguages) {
    // Opened once, the folder makes each language's look a short one.
    const FileDescriptor resources(
        open(encodeFileName(bundlePath + QStringLiteral("/Contents/Resources")).constData(),
             O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (resources.isValid()) {
        for (const QString& folder : resourceFolderNames(preferredLanguages)) {
            const auto strings =
                readPlainFileAt(resources.get(),
                                encodeFileName(folder + QStringLiteral(".lproj/InfoPlist.strings")),
                                PropertyListLimits::maximumSize);
            const auto* bytes = std::get_if<QByteArray>(&strings);
            const auto name = bytes ? declaredName(*bytes) : std::nullopt;
            if (name) {
                return name;
            }
        }
    }
    return QFileInfo(bundlePath).fileName();
}

}  // namespace tarnel
