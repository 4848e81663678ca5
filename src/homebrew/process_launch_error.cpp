#include "homebrew/process_launch_error.h"

namespace tarnel {

ProcessLaunchError::ProcessLaunchError(QString program, QString platformMessage)
    : std::runtime_error(platformMessage.toStdString()),
      executable(std::move(program)),
      message(std::move(platformMessage)) {}

}  // namespace tarnel
