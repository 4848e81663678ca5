#pragma once

#include <QString>

namespace tarnel {

// The text with every character that could act on a terminal or hide what a
// line says shown as an escape instead: tab, newline and carriage return as
// `\t`, `\n` and `\r`; the other controls below U+0020 and DEL as `\x1B`;
// the controls U+0080 to U+009F, the line and paragraph separators and the
// bidirectional marks, embeddings, overrides and isolates as `\u{202E}`; a
// lone surrogate that holds a byte of a file name that is not UTF-8 (see
// decodeFileName) as that byte, `\xFF`. Everything else, backslashes
// included, stays as it is, so that ordinary text reads unchanged.
// Log lines keep their line breaks: a message with a newline takes more
// than one line, while every other control is still shown escaped.
enum class LineBreaks { escaped, kept };

QString printableText(const QString& text, LineBreaks lineBreaks = LineBreaks::escaped);

}  // namespace tarnel
