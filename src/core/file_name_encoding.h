#pragma once

#include <QByteArray>
#include <QString>

namespace tarnel {

// A file name on this system is bytes, and not every folder name is UTF-8.
// A name is held as text by decoding what is valid UTF-8 as such and each
// byte that is not as the lone surrogate U+DC80 to U+DCFF, its value added
// to U+DC00; valid UTF-8 never decodes to a lone surrogate, so the text
// names exactly one file and encodes back to the very bytes it came from.
// Qt's own decoding would put U+FFFD in place of such a byte and lose the file.
// Every path that may come from a folder listing is opened through
// encodeFileName.
QString decodeFileName(const QByteArray& name);
QByteArray encodeFileName(const QString& name);

}  // namespace tarnel
