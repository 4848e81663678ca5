#include "app/cli/update_table.h"

#include "app/cli/application_table.h"
#include "app/cli/pending_updates.h"

#include <QCollator>

#include <algorithm>
#include <vector>

namespace tarnel {

namespace {

// The display name of the first application that passes `test`, else `fallback`.
template <typename Test>
QString nameOf(const QList<Application>& applications, Test test, const QString& fallback) {
    const auto found = std::find_if(applications.begin(), applications.end(), test);
    return found == applications.end() ? fallback : found->displayName;
}

QString applicationName(const BrewUpdate& update, const QList<Application>& applications) {
    return nameOf(
        applications, [&](const Application& app) { return app.id == update.applicationId; },
        update.caskName);
}

QString applicationName(const SparkleUpdate& update, const QList<Application>& applications) {
    return nameOf(
        applications, [&](const Application& app) { return app.id == update.applicationId; },
        update.bundleIdentifier);
}

QString applicationName(const MASUpdate& update, const QList<Application>& applications) {
    return nameOf(
        applications,
        [&](const Application& app) { return app.masApp && app.masApp->id == update.appId; },
        update.appName);
}

// The rows of one source, ordered by name as a person reads a list.
template <typename Update>
std::vector<QStringList> rowsOf(const QList<Update>& updates, UpdateSource source,
                                const QList<Application>& applications) {
    std::vector<QStringList> rows;
    for (const Update& update : updates) {
        rows.push_back(
            {applicationName(update, applications), updateSourceName(source),
             QStringLiteral("%1 -> %2").arg(update.currentVersion, update.availableVersion)});
    }
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    std::stable_sort(rows.begin(), rows.end(),
                     [&](const QStringList& left, const QStringList& right) {
                         return collator.compare(left.constFirst(), right.constFirst()) < 0;
                     });
    return rows;
}

}  // namespace

QString updateTable(const UpdateLists& updates, const QList<Application>& applications) {
    const qsizetype count =
        updates.brewUpdates.size() + updates.sparkleUpdates.size() + updates.masUpdates.size();
    if (count == 0) {
        return QStringLiteral("No updates are pending.\n");
    }
    std::vector<QStringList> rows{
        {QStringLiteral("Application"), QStringLiteral("Source"), QStringLiteral("Update")}};
    for (auto&& sourceRows :
         {rowsOf(updates.brewUpdates, UpdateSource::homebrew, applications),
          rowsOf(updates.sparkleUpdates, UpdateSource::sparkle, applications),
          rowsOf(updates.masUpdates, UpdateSource::macAppStore, applications)}) {
        rows.insert(rows.end(), sourceRows.begin(), sourceRows.end());
    }
    return tableText(std::move(rows)) + u'\n' +
           QStringLiteral("%1 %2: %3 Homebrew, %4 Sparkle, %5 Mac App Store\n")
               .arg(count)
               .arg(count == 1 ? QStringLiteral("update") : QStringLiteral("updates"))
               .arg(updates.brewUpdates.size())
               .arg(updates.sparkleUpdates.size())
               .arg(updates.masUpdates.size());
}

}  // namespace tarnel
