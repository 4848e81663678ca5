#include "app/cli/application_choice.h"

#include <QFileInfo>

namespace tarnel {

namespace {

// `path` is the query as a path with its links resolved, or empty when
// nothing is there: bundle paths are kept that way.
bool names(const Application& application, const QString& query, const QString& path) {
    return application.displayName.compare(query, Qt::CaseInsensitive) == 0 ||
           QFileInfo(application.bundlePath).fileName() == query || application.name == query ||
           application.bundleIdentifier == query || application.bundlePath == query ||
           (!path.isEmpty() && application.bundlePath == path);
}

}  // namespace

std::variant<Application, QString> chooseApplication(const QList<Application>& applications,
                                                     const QString& query) {
    const QString path = QFileInfo(query).canonicalFilePath();
    QList<Application> matches;
    for (const Application& application : applications) {
        if (names(application, query, path)) {
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
