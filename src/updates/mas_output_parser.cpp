#include "updates/mas_output_parser.h"

#include <QStringList>
#include <QStringView>

#include <optional>

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

// The version part that ends a line: "(", text without ")", and the ")" that
// is the line's last character, opened as far left as that allows. This is
// what the expression "\(([^)]+)\)$" finds, read in one pass: a search with
// the expression backtracks, in time quadratic in the length of the line.
struct TrailingParentheses {
    // Where the "(" stands; the name is what comes before it.
    qsizetype start = 0;
    // Between the parentheses; never empty.
    QStringView inside;
};

std::optional<TrailingParentheses> trailingParentheses(QStringView text) {
    if (!text.endsWith(u')')) {
        return std::nullopt;
    }
    const QStringView body = text.chopped(1);
    // The inside holds no ")", so it opens after the last one before the end.
    // A later "(" would only give a shorter inside of the same kind.
    const qsizetype start = body.indexOf(u'(', body.lastIndexOf(u')') + 1);
    if (start < 0 || start + 1 == body.size()) {
        return std::nullopt;
    }
    return TrailingParentheses{start, body.sliced(start + 1)};
}

QString nameBefore(const QString& remainder, const TrailingParentheses& parentheses) {
    return remainder.first(parentheses.start).trimmed();
}

}  // namespace

QList<MASApp> parseMASList(const QString& output) {
    QList<MASApp> apps;
    for (const MASLine& line : splitLines(output)) {
        if (const auto parentheses = trailingParentheses(line.remainder)) {
            apps.append(MASApp{line.identifier, nameBefore(line.remainder, *parentheses),
                               parentheses->inside.toString()});
        } else {
            apps.append(MASApp{line.identifier, line.remainder, QString()});
        }
    }
    return apps;
}

// The parentheses hold "{current} -> {available}". The current version runs
// to the last arrow that leaves an available version after it, as the greedy
// first group of "\(([^)]+) -> ([^)]+)\)$" takes it; a shorter inside opened
// further right could only hold fewer arrows, so it never matches instead.
QList<MASUpdate> parseMASOutdated(const QString& output) {
    const QStringView arrow = u" -> ";
    QList<MASUpdate> updates;
    for (const MASLine& line : splitLines(output)) {
        const auto parentheses = trailingParentheses(line.remainder);
        if (!parentheses || parentheses->inside.size() < arrow.size() + 2) {
            continue;
        }
        const QStringView inside = parentheses->inside;
        const qsizetype split = inside.lastIndexOf(arrow, inside.size() - arrow.size() - 1);
        if (split < 1) {
            continue;
        }
        updates.append(MASUpdate{
            line.identifier, line.identifier, nameBefore(line.remainder, *parentheses),
            inside.first(split).toString(), inside.sliced(split + arrow.size()).toString()});
    }
    return updates;
}

}  // namespace tarnel
