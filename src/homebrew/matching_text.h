#pragma once

#include <QString>
#include <QStringView>

// How matching reads names and paths. Every helper works on the text as
// given and never on the disk.
namespace tarnel {

// Characters as a reader counts them: extended grapheme clusters.
qsizetype characterCount(const QString& text);

// The plain Unicode lower-casing of the whole text, as `QString::toLower`
// gives it; plain ASCII takes a shorter way, since that is nearly every name.
QString lowerCased(const QString& text);

// One bit for each code unit value modulo 64. A text can only contain
// another if its set covers the other's, which rejects most pairs before
// any search.
quint64 characterSet(QStringView text);

// Whether the longer of the two texts contains the shorter, exactly, given
// their character sets.
bool eitherContains(const QString& first, quint64 firstSet, const QString& second,
                    quint64 secondSet);

// Whether `text`, lower-cased, equals `lowered`, without building the
// lower-cased copy for plain ASCII.
bool lowersTo(QStringView text, const QString& lowered);

// The last component of a path, after any trailing slashes, with extension.
QStringView lastPathComponent(QStringView path);

// A file name without its extension. A leading dot names a hidden file and
// starts no extension.
QStringView removingPathExtension(QStringView fileName);

// The text with every blank (space) taken out.
QString removingBlanks(const QString& text);

}  // namespace tarnel
