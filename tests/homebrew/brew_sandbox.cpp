#include "brew_sandbox.h"

#include <QDir>
#include <QFile>

BrewSandbox::BrewSandbox()
    : state(root.filePath(QStringLiteral("state"))),
      settings(root.filePath(QStringLiteral("settings.json"))),
      logger(capture.sink(), settings, root.filePath(QStringLiteral("Desktop"))) {
    for (const char* folder : {"home", "tmp", "Applications"}) {
        QDir().mkpath(root.filePath(QString::fromLatin1(folder)));
    }
    layout.homeDirectory = path(QStringLiteral("home"));
    layout.temporaryDirectory = path(QStringLiteral("tmp"));
    layout.applicationsDirectory = path(QStringLiteral("Applications"));
    layout.desktopDirectory = path(QStringLiteral("Desktop"));
    layout.brewCandidates = {path(QStringLiteral("opt/homebrew/bin/brew")),
                             path(QStringLiteral("usr/local/bin/brew"))};
    state.setApplicationsDirectory(layout.applicationsDirectory);
    setDialogAnswer(QStringLiteral("correct horse"));
}

QString BrewSandbox::path(const QString& relative) const {
    return root.filePath(relative);
}

void BrewSandbox::installBrew() {
    state.installAt(layout.brewCandidates.first());
}

void BrewSandbox::setDialogAnswer(const QString& password) {
    const QString dialog = path(QStringLiteral("dialog.sh"));
    QFile file(dialog);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(password.isEmpty() ? QByteArray("#!/bin/sh\nexit 1\n")
                                  : "#!/bin/sh\nprintf '%s\\n' '" + password.toUtf8() + "'\n");
    file.close();
    file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    layout.askpassDialogProgram = dialog;
}

tarnel::AskpassService& BrewSandbox::askpassService() {
    if (!askpass) {
        askpass = std::make_unique<tarnel::AskpassService>(logger, layout);
    }
    return *askpass;
}

tarnel::BrewService& BrewSandbox::brewService() {
    if (!brew) {
        httpsClient = std::make_unique<tarnel::HttpsClient>(layout);
        brew = std::make_unique<tarnel::BrewService>(logger, askpassService(), *httpsClient, layout,
                                                     clock);
    }
    return *brew;
}

tarnel::CaskService& BrewSandbox::caskService() {
    if (!casks) {
        casks = std::make_unique<tarnel::CaskService>(logger, brewService(), clock,
                                                      tarnel::CaskLocations::of(layout));
    }
    return *casks;
}
