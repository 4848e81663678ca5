#include "app/cli/application_choice.h"

#include <QFileInfo>

namespace tarnel {

namespace {

bool names(const Application& application, const QString& query) {
    return application.displayName.compare(query, Qt::CaseInsensitive) == 0 ||
           QFileInfo(application.bundlePath).fileName() == query || application.name == query ||
           application.bundleIdentifier == query || application.bundlePath == query ||
           application.bundlePath == QFileInfo(query).absoluteFilePath();
}

}  // namespace

std::variant<Application, QString> chooseApplication(const QList<Application>& applications,
                                                     const QString& query) {
    QList<Application> matches;
    for (const Application& application : applications) {
        if (names(application, query)) {
            matches.append(application);
        }
    }
    if (matches.size() == 1) {
        return matches.constFirst();
    }
    if (matches.isEmpty()) {
        return QStringLiteral("no application matches '%1'").arg(query);
    }
    QStringList paths;
    for (const Application& match : matches) {
        paths.append(match.bundlePath);
    }
    return QStringLiteral("'%1' matches %2 applications: %3")
        .arg(query)
        .arg(matches.size())
        .arg(paths.join(QStringLiteral(", ")));
}

}  // namespace tarnel
