#include "core/system_layout.h"

#include <QDir>
#include <QOperatingSystemVersion>

namespace tarnel {

// The temporary folder of this platform is already the user's own.
QString SystemLayout::privateTemporaryDirectory() {
    return QDir::tempPath();
}

QString SystemLayout::runningSystemVersion() {
    const QOperatingSystemVersion current = QOperatingSystemVersion::current();
    return QStringLiteral("%1.%2.%3")
        .arg(current.majorVersion())
        .arg(qMax(current.minorVersion(), 0))
        .arg(qMax(current.microVersion(), 0));
}

}  // namespace tarnel
