#pragma once

#include <QtGlobal>

// Removes what a desktop session sets that changes how the askpass helper,
// the `brew` runner or Qt behave. The tests expect a plain environment and set
// what they need themselves.
inline void clearDesktopSession() {
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "SSH_ASKPASS", "SSH_ASKPASS_REQUIRE",
                                 "SUDO_ASKPASS", "HOMEBREW_SUDO_ASKPASS", "SUDO_PROMPT"}) {
        qunsetenv(variable);
    }
}
