#include "updates/skip_update_service.h"

#include "core/logger.h"
#include "core/settings_store.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <variant>

namespace tarnel {

namespace {

const QString skippedVersionsKey = QStringLiteral("SkippedUpdateVersions");

qsizetype totalVersions(const SkipUpdateService::SkippedVersions& versions) {
    qsizetype total = 0;
    for (const QSet<QString>& set : versions) {
        total += set.size();
    }
    return total;
}

QStringList sorted(QStringList texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

// Sorted, so that the log and the stored arrays do not change from run to run.
QStringList sortedValues(const QSet<QString>& set) {
    return sorted(QStringList(set.begin(), set.end()));
}

QString describeSet(const QSet<QString>& set) {
    const QStringList versions = sortedValues(set);
    if (versions.isEmpty()) {
        return QStringLiteral("[]");
    }
    return QStringLiteral("[\"%1\"]").arg(versions.join(QStringLiteral("\", \"")));
}

// The versions held in the stored JSON, or why it cannot be read.
std::variant<SkipUpdateService::SkippedVersions, QString> decodeSkippedVersions(
    const QByteArray& data) {
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        return QStringLiteral("%1 at offset %2")
            .arg(parseError.errorString(), QString::number(parseError.offset));
    }
    if (!document.isObject()) {
        return QStringLiteral("the value is not a JSON object");
    }
    SkipUpdateService::SkippedVersions decoded;
    const QJsonObject object = document.object();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const QString notStrings =
            QStringLiteral("the value for \"%1\" is not an array of strings").arg(entry.key());
        if (!entry.value().isArray()) {
            return notStrings;
        }
        QSet<QString>& versions = decoded[entry.key()];
        for (const QJsonValue version : entry.value().toArray()) {
            if (!version.isString()) {
                return notStrings;
            }
            versions.insert(version.toString());
        }
    }
    return decoded;
}

// Text with a broken surrogate pair would not survive the trip through
// UTF-8, and a mangled version would never match again.
bool holdsOnlyValidText(const QString& bundleIdentifier, const QSet<QString>& versions) {
    return bundleIdentifier.isValidUtf16() &&
           std::all_of(versions.begin(), versions.end(),
                       [](const QString& version) { return version.isValidUtf16(); });
}

}  // namespace

SkipUpdateService::SkipUpdateService(Logger& logger, SettingsStore& userDefaults)
    : logger(logger), userDefaults(userDefaults) {
    loadSkippedVersions();
}

void SkipUpdateService::loadSkippedVersions() {
    const std::optional<QByteArray> data = userDefaults.dataValue(skippedVersionsKey);
    if (!data) {
        logger.info(QStringLiteral("No skipped versions found in UserDefaults"));
        return;
    }
    auto decoded = decodeSkippedVersions(*data);
    if (const QString* failure = std::get_if<QString>(&decoded)) {
        // The bad value stays in the store until the next save replaces it.
        logger.error(QStringLiteral("Failed to decode skipped versions: %1").arg(*failure));
        return;
    }
    skippedVersions = std::move(std::get<SkippedVersions>(decoded));
    logger.info(QStringLiteral("Loaded %1 skipped versions for %2 applications")
                    .arg(QString::number(totalVersions(skippedVersions)),
                         QString::number(skippedVersions.size())));
}

void SkipUpdateService::skipVersion(const QString& bundleIdentifier, const QString& version) {
    skippedVersions[bundleIdentifier].insert(version);
    saveSkippedVersions();
    logger.info(
        QStringLiteral("Skipped version %1 for application %2").arg(version, bundleIdentifier));
}

bool SkipUpdateService::isVersionSkipped(const QString& bundleIdentifier,
                                         const QString& version) const {
    const auto entry = skippedVersions.constFind(bundleIdentifier);
    if (entry == skippedVersions.cend()) {
        return false;
    }
    const bool isSkipped = entry->contains(version);
    logger.info(QStringLiteral("App %1 has %2 skipped versions: %3. Checking version %4: %5")
                    .arg(bundleIdentifier, QString::number(entry->size()), describeSet(*entry),
                         version, isSkipped ? QStringLiteral("true") : QStringLiteral("false")));
    return isSkipped;
}

SkipUpdateService::SkippedVersions SkipUpdateService::getAllSkippedVersions() const {
    logger.info(QStringLiteral("Retrieved all skipped versions for %1 applications")
                    .arg(skippedVersions.size()));
    return skippedVersions;
}

void SkipUpdateService::clearAllSkippedVersions() {
    logger.info(QStringLiteral("Clearing ALL skipped versions"));
    skippedVersions.clear();
    saveSkippedVersions();
    logger.info(QStringLiteral("Cleared all skipped versions"));
}

void SkipUpdateService::saveSkippedVersions() {
    const QStringList bundleIdentifiers = sorted(skippedVersions.keys());
    QJsonObject object;
    for (const QString& bundleIdentifier : bundleIdentifiers) {
        const QSet<QString> versions = skippedVersions.value(bundleIdentifier);
        if (!holdsOnlyValidText(bundleIdentifier, versions)) {
            // Memory keeps the versions and the store its old value.
            logger.error(QStringLiteral("Failed to encode skipped versions: the entry of %1 "
                                        "holds text that is not valid Unicode")
                             .arg(bundleIdentifier));
            return;
        }
        object.insert(bundleIdentifier, QJsonArray::fromStringList(sortedValues(versions)));
    }
    userDefaults.setData(skippedVersionsKey, QJsonDocument(object).toJson(QJsonDocument::Compact));

    logger.info(QStringLiteral("Saved %1 skipped versions for %2 applications")
                    .arg(QString::number(totalVersions(skippedVersions)),
                         QString::number(skippedVersions.size())));
    for (const QString& bundleIdentifier : bundleIdentifiers) {
        logger.info(
            QStringLiteral("Saved for app %1: %2")
                .arg(bundleIdentifier, describeSet(skippedVersions.value(bundleIdentifier))));
    }
}

}  // namespace tarnel
