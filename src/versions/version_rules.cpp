#include "versions/version_rules.h"

#include "core/records/application.h"
#include "versions/strict_integer.h"

#include <QRegularExpression>

#include <algorithm>
#include <tuple>

namespace tarnel {

namespace {

// `\d` and `\s` take their Unicode meaning in every expression here.
constexpr QRegularExpression::PatternOptions unicodeClasses =
    QRegularExpression::UseUnicodePropertiesOption;

QString withoutParentheticals(QString text) {
    static const QRegularExpression parenthetical(QStringLiteral("\\s*\\([^)]*\\)"),
                                                  unicodeClasses);
    return text.remove(parenthetical);
}

// The part after a comma and any parenthesised note are gone.
QString commaFreeText(const QString& version) {
    return withoutParentheticals(version.section(u',', 0, 0));
}

// Each dotted piece is read from its decimal digits alone, wherever they
// stand, so 1b3 reads 13. A piece without digits, with digits of another
// script or too large gives no number and is dropped; as only digits remain,
// no value is negative.
VersionComponents digitComponents(const QString& text) {
    VersionComponents components;
    QString digits;
    for (const QStringView piece : QStringView(text).split(u'.')) {
        digits.clear();
        for (const QChar character : piece) {
            if (character.isDigit()) {
                digits.append(character);
            }
        }
        if (const std::optional<qint64> value = parseStrictInteger(digits)) {
            components.append(*value);
        }
    }
    return components;
}

// Position by position, a missing component counting as 0.
bool isLaterComponentList(const VersionComponents& candidate, const VersionComponents& baseline) {
    const qsizetype length = std::max(candidate.size(), baseline.size());
    for (qsizetype index = 0; index < length; ++index) {
        const qint64 candidateValue = candidate.value(index, 0);
        const qint64 baselineValue = baseline.value(index, 0);
        if (candidateValue != baselineValue) {
            return candidateValue > baselineValue;
        }
    }
    return false;
}

// The kind is read off the whole matched suffix, the later kinds tested first.
PrereleaseKind prereleaseKindOf(QStringView suffix) {
    if (suffix.contains(u"rc")) {
        return PrereleaseKind::rc;
    }
    if (suffix.contains(u"beta")) {
        return PrereleaseKind::beta;
    }
    return PrereleaseKind::alpha;
}

// Code points of the canonical composed form, so that two spellings of one
// accented letter are the same character.
//
// The normaliser's work grows with the square of what it is given, so a long
// text is given to it in pieces. A character below U+0300 never combines with
// what stands before it, so a cut before one changes nothing: a piece ends
// there once it is `usualPiece` code units long. A run of `longestRun` code
// units without such a character, which no version holds, is cut where it
// stands, though never inside a surrogate pair.
QList<uint> characters(const QString& text) {
    constexpr qsizetype usualPiece = 32;
    constexpr qsizetype longestRun = 64;
    constexpr char16_t firstCombining = 0x0300;
    QList<uint> result;
    qsizetype start = 0;
    qsizetype run = 0;
    for (qsizetype end = 0; end < text.size(); ++end) {
        const QChar next = text[end];
        const bool isBoundary = next.unicode() < firstCombining;
        const bool isCut = (isBoundary && end - start >= usualPiece) ||
                           (run >= longestRun && !next.isLowSurrogate());
        if (isCut) {
            result.append(
                text.sliced(start, end - start).normalized(QString::NormalizationForm_C).toUcs4());
            start = end;
            run = 0;
        }
        run = isBoundary ? 0 : run + 1;
    }
    result.append(text.sliced(start).normalized(QString::NormalizationForm_C).toUcs4());
    return result;
}

}  // namespace

ParsedVersion parseVersion(const QString& version) {
    static const QRegularExpression trailingBuild(QStringLiteral("\\.(\\d+)$"), unicodeClasses);
    static const QRegularExpression prerelease(QStringLiteral("-(rc|beta|alpha)\\.?(\\d*)"),
                                               unicodeClasses);
    ParsedVersion parsed;
    QString text = version.trimmed();

    // The build is cut off before the suffix is looked for, so in 1.2-beta.3
    // the 3 is the build and the pre-release number stays 1.
    if (const QRegularExpressionMatch match = trailingBuild.match(text); match.hasMatch()) {
        parsed.build = parseStrictInteger(match.capturedView(1)).value_or(0);
        text.truncate(match.capturedStart());
    }

    // -beta, -beta1 and -beta.1 all have the number 1. Whatever follows the
    // suffix is dropped with it.
    if (const QRegularExpressionMatch match = prerelease.match(text); match.hasMatch()) {
        parsed.prereleaseKind = prereleaseKindOf(match.capturedView());
        parsed.prereleaseNumber = parseStrictInteger(match.capturedView(2)).value_or(1);
        text.truncate(match.capturedStart());
    }

    // Pieces that are no number vanish and the later ones move up.
    qint64* const baseFields[] = {&parsed.major, &parsed.minor, &parsed.patch};
    qsizetype filled = 0;
    for (const QStringView piece : QStringView(text).split(u'.', Qt::SkipEmptyParts)) {
        if (filled == std::ssize(baseFields)) {
            break;
        }
        if (const std::optional<qint64> value = parseStrictInteger(piece)) {
            *baseFields[filled++] = *value;
        }
    }
    return parsed;
}

bool isVersionNewer(const QString& candidate, const QString& baseline) {
    const ParsedVersion newer = parseVersion(candidate);
    const ParsedVersion older = parseVersion(baseline);
    const auto base = [](const ParsedVersion& version) {
        return std::tuple(version.major, version.minor, version.patch);
    };
    if (base(newer) != base(older)) {
        return base(newer) > base(older);
    }
    if (newer.prereleaseKind.has_value() != older.prereleaseKind.has_value()) {
        // A release orders after every pre-release of the same base.
        return !newer.prereleaseKind.has_value();
    }
    // Two releases have equal kinds and numbers, so their builds decide.
    return std::tuple(newer.prereleaseKind, newer.prereleaseNumber, newer.build) >
           std::tuple(older.prereleaseKind, older.prereleaseNumber, older.build);
}

QString compositeVersion(const QString& primary, const QString& secondary) {
    // Plain containment on purpose: a short version 1.20 with build 20 stays 1.20.
    if (secondary.isEmpty() || primary.contains(secondary)) {
        return primary;
    }
    return primary + u'.' + secondary;
}

VersionComponents brewVersionComponents(const QString& version) {
    static const QRegularExpression statusSuffix(
        QStringLiteral("\\.(upgrading|installing|updating|pending|beta|rc|alpha)$"),
        unicodeClasses | QRegularExpression::CaseInsensitiveOption);
    return digitComponents(commaFreeText(version).remove(statusSuffix));
}

bool isBrewVersionNewer(const QString& candidate, const QString& baseline) {
    if (candidate == baseline) {
        return false;
    }
    const VersionComponents candidateComponents = brewVersionComponents(candidate);
    if (candidateComponents.isEmpty()) {
        return false;
    }
    const VersionComponents baselineComponents = brewVersionComponents(baseline);
    if (baselineComponents.isEmpty()) {
        return true;
    }
    return isLaterComponentList(candidateComponents, baselineComponents);
}

VersionComponents displayVersionComponents(const QString& version) {
    return digitComponents(commaFreeText(version));
}

bool isDisplayVersionNewer(const QString& candidate, const QString& baseline) {
    return isLaterComponentList(displayVersionComponents(candidate),
                                displayVersionComponents(baseline));
}

bool isInstalledVersionCalledNewer(const QString& installedVersion, const QString& caskVersion) {
    return characters(caskVersion) < characters(installedVersion);
}

QString installedDisplayVersion(const Application& application) {
    // A cleaned "Unknown" stands for itself, so only an empty text is replaced.
    const QString cleaned = withoutParentheticals(application.shortVersion);
    return cleaned.isEmpty() ? QStringLiteral("Unknown") : cleaned;
}

}  // namespace tarnel
