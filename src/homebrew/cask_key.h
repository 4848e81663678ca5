#pragma once

#include <QString>

namespace tarnel {

// Turns an already lower-cased token or name into the key under which the
// catalogue files it, so that "Sublime Text.app" and "sublime-text" meet.
// The replacements are literal and go in this order: every ".app" by
// nothing, every "." by "-", every " " by "-", every "&" by "and".
QString normaliseCaskKey(const QString& lowered);

}  // namespace tarnel
