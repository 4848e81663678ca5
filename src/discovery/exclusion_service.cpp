#include "discovery/exclusion_service.h"

#include "core/logger.h"
#include "core/settings_store.h"

namespace tarnel {

namespace {

const QString exclusionsKey = QStringLiteral("excludedApplications");

}  // namespace

ExclusionService::ExclusionService(Logger& logger, SettingsStore& settings)
    : logger(logger),
      settings(settings),
      fixedIdentifiers{QStringLiteral("app.tarnel.Tarnel"), QStringLiteral("com.apple.Safari"),
                       QStringLiteral("com.apple.appleseed.FeedbackAssistant")} {
    loadUserExclusions();
}

void ExclusionService::excludeApplication(const Application& application) {
    excludedIdentifiers.insert(application.bundleIdentifier);
    saveUserExclusions();
    logger.info(QStringLiteral("Excluded application: %1").arg(application.displayName));
}

void ExclusionService::includeApplication(const Application& application) {
    excludedIdentifiers.remove(application.bundleIdentifier);
    saveUserExclusions();
    logger.info(QStringLiteral("Included application: %1").arg(application.displayName));
}

void ExclusionService::loadUserExclusions() {
    const QStringList stored = settings.stringListValue(exclusionsKey).value_or(QStringList());
    excludedIdentifiers = QSet<QString>(stored.begin(), stored.end());
    logger.info(QStringLiteral("Loaded %1 user exclusions").arg(excludedIdentifiers.size()));
}

void ExclusionService::saveUserExclusions() {
    // The order means nothing; sorting keeps the stored file stable.
    QStringList stored(excludedIdentifiers.begin(), excludedIdentifiers.end());
    stored.sort();
    settings.setStringList(exclusionsKey, stored);
    logger.info(QStringLiteral("Saved %1 user exclusions").arg(excludedIdentifiers.size()));
}

QList<Application> applyExclusions(QList<Application> applications,
                                   const QSet<QString>& hardCodedExclusions,
                                   const QSet<QString>& userExclusions) {
    applications.removeIf([&hardCodedExclusions](const Application& application) {
        return hardCodedExclusions.contains(application.bundleIdentifier);
    });
    for (Application& application : applications) {
        application.excluded = userExclusions.contains(application.bundleIdentifier);
    }
    return applications;
}

}  // namespace tarnel
