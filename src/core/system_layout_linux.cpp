#include "core/system_layout.h"

#include <QDir>

#include <unistd.h>

namespace tarnel {

// The system's temporary folder is shared by every user, so the user's runtime
// folder serves, or else a folder of our own in the shared one.
QString SystemLayout::privateTemporaryDirectory() {
    const QString runtimeDirectory = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(runtimeDirectory)) {
        return runtimeDirectory;
    }
    return QDir::tempPath() + QStringLiteral("/tarnel-%1").arg(geteuid());
}

// Feeds name the versions of the system they are written for; here the
// program takes the oldest one it runs on.
QString SystemLayout::runningSystemVersion() {
    return QStringLiteral("15.0.0");
}

}  // namespace tarnel
