#include "platform/appcast/standard_version_comparator.h"

#include <QChar>
#include <QList>

#include <cstdint>
#include <limits>
#include <string_view>

namespace tarnel {

namespace {

enum class RunClass { period, dash, digit, whitespace, punctuation, letter };

struct Run {
    RunClass runClass;
    std::u32string_view text;
};

RunClass classOf(char32_t character) {
    if (character == U'.') {
        return RunClass::period;
    }
    if (character == U'-') {
        return RunClass::dash;
    }
    if (QChar::isDigit(character)) {
        return RunClass::digit;
    }
    if (QChar::isSpace(character)) {
        return RunClass::whitespace;
    }
    if (QChar::isPunct(character)) {
        return RunClass::punctuation;
    }
    return RunClass::letter;
}

bool isSeparator(RunClass runClass) {
    return runClass == RunClass::period || runClass == RunClass::whitespace ||
           runClass == RunClass::punctuation;
}

// Every separator character is a run of its own; digits and letters group.
// A dash after the first character ends the version.
QList<Run> splitIntoRuns(std::u32string_view text) {
    QList<Run> runs;
    std::size_t start = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const RunClass current = classOf(text[index]);
        if (index > 0 && current == RunClass::dash) {
            text = text.substr(0, index);
            break;
        }
        if (index > start) {
            const RunClass previous = classOf(text[index - 1]);
            if (current != previous || isSeparator(previous)) {
                runs.append({previous, text.substr(start, index - start)});
                start = index;
            }
        }
    }
    if (start < text.size()) {
        runs.append({classOf(text[start]), text.substr(start)});
    }
    return runs;
}

qsizetype leadingNumericRuns(const QList<Run>& runs) {
    qsizetype count = 0;
    while (count < runs.size() &&
           (runs[count].runClass == RunClass::digit || runs[count].runClass == RunClass::period)) {
        ++count;
    }
    return count;
}

// Gives `shorter` as many leading digit and period runs as `longer` has, so
// that "1.0" reads as "1.0.0" beside it.
void balanceLeadingNumbers(QList<Run>& shorter, const QList<Run>& longer) {
    const qsizetype have = leadingNumericRuns(shorter);
    const qsizetype want = leadingNumericRuns(longer);
    for (qsizetype index = have; index < want; ++index) {
        const bool isPeriod = longer[index].runClass == RunClass::period;
        shorter.insert(index, isPeriod ? Run{RunClass::period, U"."} : Run{RunClass::digit, U"0"});
    }
}

// Only ASCII digits count, and a value past the 64-bit range stays at its
// largest; a run of other digits reads as 0.
std::int64_t valueOf(std::u32string_view digits) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    std::int64_t value = 0;
    for (const char32_t character : digits) {
        if (character < U'0' || character > U'9') {
            break;
        }
        const int digit = static_cast<int>(character - U'0');
        value = value > (largest - digit) / 10 ? largest : value * 10 + digit;
    }
    return value;
}

std::strong_ordering compareRuns(const Run& a, const Run& b) {
    const bool aIsLetter = a.runClass == RunClass::letter;
    const bool bIsLetter = b.runClass == RunClass::letter;
    const bool aIsDigit = a.runClass == RunClass::digit;
    const bool bIsDigit = b.runClass == RunClass::digit;
    if (aIsDigit && bIsDigit) {
        return valueOf(a.text) <=> valueOf(b.text);
    }
    if (aIsLetter && bIsLetter) {
        // Code point order, case-sensitive, as the strings compare.
        return a.text.compare(b.text) <=> 0;
    }
    if (aIsLetter != bIsLetter) {
        return aIsLetter ? std::strong_ordering::less : std::strong_ordering::greater;
    }
    if (aIsDigit != bIsDigit) {
        return aIsDigit ? std::strong_ordering::greater : std::strong_ordering::less;
    }
    // Separators of any kind, dashes among them, are interchangeable.
    return std::strong_ordering::equal;
}

}  // namespace

std::strong_ordering compareStandardVersions(const QString& a, const QString& b) {
    const std::u32string aText = a.toStdU32String();
    const std::u32string bText = b.toStdU32String();
    QList<Run> aRuns = splitIntoRuns(aText);
    QList<Run> bRuns = splitIntoRuns(bText);
    balanceLeadingNumbers(aRuns, bRuns);
    balanceLeadingNumbers(bRuns, aRuns);

    const qsizetype shared = std::min(aRuns.size(), bRuns.size());
    for (qsizetype index = 0; index < shared; ++index) {
        if (const auto order = compareRuns(aRuns[index], bRuns[index]); order != 0) {
            return order;
        }
    }
    if (aRuns.size() == bRuns.size()) {
        return std::strong_ordering::equal;
    }
    // Past the shared runs a letter marks a pre-release of the shorter
    // version; anything else extends it.
    const bool aIsLonger = aRuns.size() > bRuns.size();
    const Run& next = aIsLonger ? aRuns[shared] : bRuns[shared];
    const bool longerIsGreater = next.runClass != RunClass::letter;
    return aIsLonger == longerIsGreater ? std::strong_ordering::greater
                                        : std::strong_ordering::less;
}

}  // namespace tarnel
