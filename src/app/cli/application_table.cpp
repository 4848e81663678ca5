#include "app/cli/application_table.h"

#include <QStringList>

#include <algorithm>
#include <vector>

namespace tarnel {

namespace {

// Stands in the table for a fact the bundle does not declare.
const QString missing = QStringLiteral("-");

QStringList rowOf(const Application& application) {
    const auto& sparkle = application.sparkleInfo;
    return {application.name,
            application.displayName,
            application.bundleIdentifier.isEmpty() ? missing : application.bundleIdentifier,
            application.bundleVersion,
            application.shortVersion,
            sparkle ? sparkle->feedURL : missing,
            sparkle && sparkle->publicKey ? *sparkle->publicKey : missing};
}

}  // namespace

QString applicationTable(const QList<Application>& applications) {
    std::vector<QStringList> rows{{QStringLiteral("Name"), QStringLiteral("Display name"),
                                   QStringLiteral("Identifier"), QStringLiteral("Version"),
                                   QStringLiteral("Short version"), QStringLiteral("Sparkle feed"),
                                   QStringLiteral("Sparkle key")}};
    for (const Application& application : applications) {
        rows.push_back(rowOf(application));
    }
    std::vector<qsizetype> widths(rows.front().size(), 0);
    for (const QStringList& row : rows) {
        for (qsizetype column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    QString table;
    for (const QStringList& row : rows) {
        // The last column is not padded, so that no line ends in spaces.
        for (qsizetype column = 0; column + 1 < row.size(); ++column) {
            table += row[column].leftJustified(widths[column]) + QStringLiteral("  ");
        }
        table += row.back() + u'\n';
    }
    return table;
}

}  // namespace tarnel
