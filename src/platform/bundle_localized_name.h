#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace tarnel {

// The name under which the system shows the bundle at `bundlePath` to a user
// with these languages (most preferred first). It may end in ".app". Absent
// when the system cannot tell.
std::optional<QString> bundleLocalizedName(const QString& bundlePath,
                                           const QStringList& preferredLanguages);

}  // namespace tarnel
