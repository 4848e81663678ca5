#include "app/cli/application_table.h"

#include "core/printable_text.h"

#include <QStringList>

#include <algorithm>

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

// A cask as a cell: its token and how sure the match is, in percent.
QString withConfidence(const Cask& cask) {
    return QStringLiteral("%1 (%2%)").arg(cask.name).arg(qRound(cask.confidence * 100));
}

}  // namespace

QString tableText(std::vector<QStringList> rows) {
    for (QStringList& row : rows) {
        for (QString& cell : row) {
            cell = printableText(cell);
        }
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

QString applicationTable(const QList<Application>& applications) {
    std::vector<QStringList> rows{{QStringLiteral("Name"), QStringLiteral("Display name"),
                                   QStringLiteral("Identifier"), QStringLiteral("Version"),
                                   QStringLiteral("Short version"), QStringLiteral("Sparkle feed"),
                                   QStringLiteral("Sparkle key")}};
    for (const Application& application : applications) {
        rows.push_back(rowOf(application));
    }
    return tableText(std::move(rows));
}

QString matchTable(const QList<Application>& applications) {
    std::vector<QStringList> rows{
        {QStringLiteral("Name"), QStringLiteral("Installed cask"), QStringLiteral("Cask options")}};
    for (const Application& application : applications) {
        QStringList options;
        for (const Cask& option : application.caskOptions) {
            options.append(withConfidence(option));
        }
        rows.push_back(
            {application.name,
             application.adoptedCask ? withConfidence(*application.adoptedCask) : missing,
             options.isEmpty() ? missing : options.join(QStringLiteral(", "))});
    }
    return tableText(std::move(rows));
}

}  // namespace tarnel
