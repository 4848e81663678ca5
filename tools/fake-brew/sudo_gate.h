#pragma once

#include "command_outcome.h"

#include <QString>

#include <optional>

namespace fakebrew {

// Asks the program in `SUDO_ASKPASS` for the password, the way `sudo -A`
// does. Gives nothing when the password matches, else the failure to report.
// The password itself is never printed or recorded.
std::optional<CommandOutcome> checkSudoPassword(const QString& expectedPassword);

}  // namespace fakebrew
