#pragma once

#include <QString>

namespace tarnel {

// Serves a sandbox's catalogue at /api/cask.json on a free loopback port,
// writes that address into the sandbox's layout file, and runs until the
// process is asked to stop. Gives the exit status.
int serveSandbox(const QString& root);

}  // namespace tarnel
