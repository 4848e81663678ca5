#pragma once

#include "core/system_layout.h"
#include "platform/private_directory.h"

#include <QString>

#include <optional>

namespace tarnel {

class Logger;

// Writes and keeps the small script that `sudo` runs to ask the user for the
// administrator password. The password passes from the dialog to `sudo`
// through the script's output alone; the program never sees it.
class AskpassService {
public:
    AskpassService(Logger& logger, const SystemLayout& layout);

    // The path of a helper ready for use, written afresh when the one known
    // is gone, no longer executable, or no longer the user's own file.
    std::optional<QString> ensureAskpassHelper();
    // Writes the script, makes it executable and checks its syntax. The
    // temporary folder must be private to the user.
    std::optional<QString> createAskpassHelper();
    // Runs `/bin/bash -n` on the file. It blocks, briefly, and only when a
    // helper is written.
    bool testAskpassHelperSyntax(const QString& path);

    // Whether a file exists at the path and may be executed.
    static bool isExecutableFile(const QString& path);

private:
    Logger& logger;
    PrivateDirectory folder;
    QString helperPath;
    QString scriptText;
    std::optional<QString> askpassHelperPath;
};

}  // namespace tarnel
