#include "app/cli/application_status_table.h"

#include "app/cli/application_table.h"

#include <QCollator>

#include <algorithm>
#include <map>
#include <vector>

namespace tarnel {

namespace {

QString statusOf(const Application& application) {
    switch (application.listStatus()) {
        case ApplicationRowStatus::excluded:
            return QStringLiteral("Excluded");
        case ApplicationRowStatus::managedByMacAppStore:
            return QStringLiteral("Mac App Store (%1)").arg(application.masApp->id);
        case ApplicationRowStatus::managedByHomebrew:
            return QStringLiteral("Managed by Homebrew: %1").arg(application.adoptedCask->name);
        case ApplicationRowStatus::availableForAdoption: {
            const Cask& top = application.caskOptions.constFirst();
            return QStringLiteral("Adoptable: %1 (%2%)")
                .arg(top.name)
                .arg(qRound(top.confidence * 100));
        }
        default:
            return QStringLiteral("No cask");
    }
}

QString summaryOf(const QList<Application>& applications) {
    std::map<ApplicationRowStatus, int> counts;
    for (const Application& application : applications) {
        ++counts[application.listStatus()];
    }
    return QStringLiteral(
               "%1 applications: %2 managed by Homebrew, %3 adoptable, %4 from the Mac App Store, "
               "%5 excluded, %6 without a cask\n")
        .arg(applications.size())
        .arg(counts[ApplicationRowStatus::managedByHomebrew])
        .arg(counts[ApplicationRowStatus::availableForAdoption])
        .arg(counts[ApplicationRowStatus::managedByMacAppStore])
        .arg(counts[ApplicationRowStatus::excluded])
        .arg(counts[ApplicationRowStatus::none]);
}

}  // namespace

QList<Application> sortedByDisplayName(QList<Application> applications) {
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true);
    std::stable_sort(applications.begin(), applications.end(),
                     [&](const Application& left, const Application& right) {
                         return collator.compare(left.displayName, right.displayName) < 0;
                     });
    return applications;
}

QString applicationStatusTable(const QList<Application>& applications) {
    std::vector<QStringList> rows{
        {QStringLiteral("Application"), QStringLiteral("Version"), QStringLiteral("Status")}};
    for (const Application& application : applications) {
        rows.push_back({application.displayName, application.shortVersion, statusOf(application)});
    }
    return tableText(std::move(rows)) + u'\n' + summaryOf(applications);
}

}  // namespace tarnel
