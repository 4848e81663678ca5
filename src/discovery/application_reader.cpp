#include "discovery/application_reader.h"

#include "core/logger.h"
#include "platform/bundle_localized_name.h"
#include "platform/plain_file_reader.h"
#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"

#include <QFileInfo>
#include <QUuid>

#include <algorithm>
#include <array>

namespace tarnel {

namespace {

// Helper tools that ship as bundles. "uninstall" stands beside
// "uninstaller" on purpose: the list is redundant.
bool namesHelperTool(const QString& name) {
    static const std::array words{QStringLiteral("installer"), QStringLiteral("uninstaller"),
                                  QStringLiteral("launcher"), QStringLiteral("updater"),
                                  QStringLiteral("uninstall")};
    const QString lowered = name.toLower();
    return std::any_of(words.begin(), words.end(),
                       [&lowered](const QString& word) { return lowered.contains(word); });
}

// The last path component without its extension.
QString baseName(const QFileInfo& bundle) {
    const QString fileName = bundle.fileName();
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot > 0 ? fileName.left(dot) : fileName;
}

std::optional<PropertyListDictionary> parseInfoPlist(const QByteArray& data) {
    try {
        return PropertyListDictionary::fromData(data);
    } catch (const PropertyListError&) {
        return std::nullopt;
    }
}

QString displayNameOf(const QString& bundlePath, const QStringList& preferredLanguages,
                      const QString& name) {
    QString displayName = bundleLocalizedName(bundlePath, preferredLanguages).value_or(name);
    if (displayName.endsWith(QLatin1String(".app"))) {
        displayName.chop(4);
    }
    return displayName;
}

}  // namespace

std::optional<Application> createApplication(const QString& bundlePath,
                                             const QStringList& preferredLanguages,
                                             Logger& logger) {
    const QFileInfo bundle(bundlePath);
    const QString name = baseName(bundle);
    if (namesHelperTool(name)) {
        return std::nullopt;
    }
    const QString infoPlistPath = bundlePath + QStringLiteral("/Contents/Info.plist");
    const auto contents = readPlainFile(infoPlistPath, PropertyListLimits::maximumSize);
    const auto* failure = std::get_if<FileReadFailure>(&contents);
    if (failure && *failure == FileReadFailure::missing) {
        logger.warning(QStringLiteral("No Info.plist found at %1").arg(infoPlistPath));
        return std::nullopt;
    }
    const auto* bytes = std::get_if<QByteArray>(&contents);
    const auto plist = bytes ? parseInfoPlist(*bytes) : std::nullopt;
    if (!plist) {
        logger.warning(QStringLiteral("Failed to read Info.plist for %1").arg(bundle.fileName()));
        return std::nullopt;
    }
    const QString displayName = displayNameOf(bundlePath, preferredLanguages, name);
    if (namesHelperTool(displayName)) {
        return std::nullopt;
    }
    Application application;
    application.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    application.name = name;
    application.displayName = displayName;
    application.bundlePath = bundlePath;
    application.bundleIdentifier = plist->text("CFBundleIdentifier").value_or(QString());
    application.bundleVersion = plist->text("CFBundleVersion").value_or(QStringLiteral("Unknown"));
    application.shortVersion =
        plist->text("CFBundleShortVersionString").value_or(application.bundleVersion);
    application.sparkleInfo = readSparkleInfo(*plist);
    return application;
}

std::optional<SparkleInfo> readSparkleInfo(const PropertyListDictionary& plist) {
    const auto feedURL = plist.text("SUFeedURL");
    if (!feedURL) {
        return std::nullopt;
    }
    SparkleInfo info;
    info.feedURL = *feedURL;
    info.publicKey = plist.text("SUPublicEDKey");
    if (!info.publicKey) {
        info.publicKey = plist.text("SUPublicDSAKey");
    }
    info.automaticallyUpdate = plist.boolean("SUAutomaticallyUpdate").value_or(false);
    return info;
}

}  // namespace tarnel
