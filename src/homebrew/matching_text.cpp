#include "homebrew/matching_text.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace tarnel {

namespace {

// Below U+0300 no code unit joins its neighbour into one cluster except the
// pair CR LF, so such text has one character per code unit.
bool hasOneCharacterPerCodeUnit(QStringView text) {
    return std::all_of(text.begin(), text.end(),
                       [](QChar unit) { return unit.unicode() < 0x300 && unit != u'\r'; });
}

bool isAscii(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar unit) { return unit.unicode() < 0x80; });
}

char16_t asciiLower(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

}  // namespace

qsizetype characterCount(const QString& text) {
    if (hasOneCharacterPerCodeUnit(text)) {
        return text.size();
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1) {
        ++count;
    }
    return count;
}

QString lowerCased(const QString& text) {
    const char16_t* units = reinterpret_cast<const char16_t*>(text.constData());
    const qsizetype size = text.size();
    bool hasUpper = false;
    for (qsizetype i = 0; i < size; ++i) {
        if (units[i] >= 0x80) {
            return text.toLower();
        }
        hasUpper |= units[i] >= u'A' && units[i] <= u'Z';
    }
    if (!hasUpper) {
        return text;
    }
    QString lowered(size, Qt::Uninitialized);
    char16_t* target = reinterpret_cast<char16_t*>(lowered.data());
    for (qsizetype i = 0; i < size; ++i) {
        target[i] = asciiLower(units[i]);
    }
    return lowered;
}

quint64 characterSet(QStringView text) {
    quint64 set = 0;
    for (const QChar unit : text) {
        set |= quint64{1} << (unit.unicode() % 64);
    }
    return set;
}

bool eitherContains(const QString& first, quint64 firstSet, const QString& second,
                    quint64 secondSet) {
    if (first.size() >= second.size()) {
        return (secondSet & ~firstSet) == 0 && first.contains(second);
    }
    return (firstSet & ~secondSet) == 0 && second.contains(first);
}

bool lowersTo(QStringView text, const QString& lowered) {
    if (!isAscii(text)) {
        return text.toString().toLower() == lowered;
    }
    if (text.size() != lowered.size()) {
        return false;
    }
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (asciiLower(text[i].unicode()) != lowered[i].unicode()) {
            return false;
        }
    }
    return true;
}

QStringView lastPathComponent(QStringView path) {
    while (path.size() > 1 && path.endsWith(u'/')) {
        path.chop(1);
    }
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash < 0 || path.size() == 1 ? path : path.mid(slash + 1);
}

QStringView removingPathExtension(QStringView fileName) {
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot > 0 ? fileName.left(dot) : fileName;
}

QString removingBlanks(const QString& text) {
    QString compact = text;
    compact.remove(u' ');
    return compact;
}

}  // namespace tarnel
