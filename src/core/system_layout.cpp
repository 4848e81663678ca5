#include "core/system_layout.h"

#include <QCoreApplication>
#include <QDir>
#include <QLocale>
#include <QStandardPaths>

namespace tarnel {

SystemLayout SystemLayout::production() {
    SystemLayout layout;
    layout.applicationsDirectory = QStringLiteral("/Applications");
    layout.brewCandidates = {QStringLiteral("/opt/homebrew/bin/brew"),
                             QStringLiteral("/usr/local/bin/brew")};
    layout.masCandidates = {QStringLiteral("/opt/homebrew/bin/mas"),
                            QStringLiteral("/usr/local/bin/mas")};
    layout.catalogueUrl = QUrl(QStringLiteral("https://formulae.brew.sh/api/cask.json"));
    layout.homeDirectory = QDir::homePath();
    layout.temporaryDirectory = privateTemporaryDirectory();
    layout.desktopDirectory = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    layout.dataDirectory = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                           QStringLiteral("/Tarnel");
    layout.preferredLanguages = QLocale::system().uiLanguages();
    layout.systemVersion = runningSystemVersion();
    // Without `osascript` the dialog comes from the helper installed beside the program.
    if (QStandardPaths::findExecutable(QStringLiteral("osascript")).isEmpty()) {
        layout.askpassDialogProgram =
            QCoreApplication::applicationDirPath() + QStringLiteral("/tarnel-askpass");
    }
    return layout;
}

}  // namespace tarnel
