#include "updates/mas_output_parser.h"

#include <QRegularExpression>
#include <QStringList>

namespace tarnel {

namespace {

// One line cut into the store identifier and what follows it.
struct MASLine {
    QString identifier;
    QString remainder;
};

// The identifier is everything before the first single blank; rejoining the
// other pieces keeps doubled blanks inside the remainder as they were.
QList<MASLine> splitLines(const QString& output) {
    QList<MASLine> lines;
    for (const QString& rawLine : output.split(u'\n')) {
        const QString line = rawLine.trimmed();
        if (line.isEmpty()) {
            continue;
        }
        QStringList pieces = line.split(u' ');
        const QString identifier = pieces.takeFirst();
        lines.append(MASLine{identifier, pieces.join(u' ')});
    }
    return lines;
}

// The name is what stands before the trailing parenthesis.
QString nameBefore(const QString& remainder, const QRegularExpressionMatch& match) {
    return remainder.chopped(match.capturedLength()).trimmed();
}

}  // namespace

QList<MASApp> parseMASList(const QString& output) {
    static const QRegularExpression versionPattern(QStringLiteral("\\(([^)]+)\\)$"));
    QList<MASApp> apps;
    for (const MASLine& line : splitLines(output)) {
        const QRegularExpressionMatch match = versionPattern.match(line.remainder);
        if (match.hasMatch()) {
            apps.append(
                MASApp{line.identifier, nameBefore(line.remainder, match), match.captured(1)});
        } else {
            apps.append(MASApp{line.identifier, line.remainder, QString()});
        }
    }
    return apps;
}

QList<MASUpdate> parseMASOutdated(const QString& output) {
    static const QRegularExpression versionsPattern(QStringLiteral("\\(([^)]+) -> ([^)]+)\\)$"));
    QList<MASUpdate> updates;
    for (const MASLine& line : splitLines(output)) {
        const QRegularExpressionMatch match = versionsPattern.match(line.remainder);
        if (!match.hasMatch()) {
            continue;
        }
        updates.append(MASUpdate{line.identifier, line.identifier,
                                 nameBefore(line.remainder, match), match.captured(1),
                                 match.captured(2)});
    }
    return updates;
}

}  // namespace tarnel
