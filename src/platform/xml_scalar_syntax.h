#pragma once

#include <QStringView>

namespace tarnel {

// Whether the text of an XML property list's scalar element is well formed
// for its type; surrounding white space is allowed.
bool isIntegerText(QStringView text);
bool isRealText(QStringView text);
bool isDateText(QStringView text);
bool isBase64Text(QStringView text);

}  // namespace tarnel
