#include "core/process_launch_error.h"

#include <utility>

namespace tarnel {

ProcessLaunchError::ProcessLaunchError(QString program, QString reason)
    : programPath(std::move(program)),
      launchReason(std::move(reason)),
      utf8Description(description().toUtf8()) {}

QString ProcessLaunchError::description() const {
    return QStringLiteral("Could not launch %1: %2").arg(programPath, launchReason);
}

}  // namespace tarnel
