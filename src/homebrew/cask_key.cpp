#include "homebrew/cask_key.h"

#include <algorithm>

namespace tarnel {

namespace {

bool needsReplacing(QChar unit) {
    return unit == u'.' || unit == u' ' || unit == u'&';
}

}  // namespace

// One pass does what the four replacements do in turn: ".app" is matched in
// the text as given, left to right and without overlap, and what the later
// steps put in never forms anything an earlier one would match.
QString normaliseCaskKey(const QString& lowered) {
    if (std::none_of(lowered.cbegin(), lowered.cend(), needsReplacing)) {
        return lowered;
    }
    const QStringView appExtension = u".app";
    QString key;
    key.reserve(lowered.size() + 2 * lowered.count(u'&'));
    for (qsizetype position = 0; position < lowered.size(); ++position) {
        const QChar unit = lowered[position];
        if (unit == u'.') {
            if (QStringView(lowered).sliced(position).startsWith(appExtension)) {
                position += appExtension.size() - 1;
            } else {
                key.append(u'-');
            }
        } else if (unit == u' ') {
            key.append(u'-');
        } else if (unit == u'&') {
            key.append(QStringView(u"and"));
        } else {
            key.append(unit);
        }
    }
    return key;
}

}  // namespace tarnel
