#pragma once

#include <QByteArray>
#include <QString>

namespace tarnel {

// The bytes as UTF-8 text, or the empty text when any of them is not valid
// UTF-8: a tool's output is taken whole or not at all.
QString decodeStrictUtf8(const QByteArray& bytes);

}  // namespace tarnel
