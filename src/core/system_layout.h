#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

#include <chrono>

namespace tarnel {

// Every place outside the program that it reaches: folders, tool candidates,
// the catalogue endpoint and the stores. Services take it by constructor, so
// that a test or a sandbox can move any of them.
struct SystemLayout {
    QString applicationsDirectory;
    QStringList brewCandidates;
    QStringList masCandidates;
    QUrl catalogueUrl;
    QString homeDirectory;
    QString temporaryDirectory;
    QString desktopDirectory;
    // PEM certificates trusted besides the system store; empty in production.
    QString extraTrustedCertificates;
    // The program that shows the password dialog of the askpass script; empty
    // where `osascript` shows it.
    QString askpassDialogProgram;
    // The user defaults file; empty means the platform's own store.
    QString settingsFile;
    // The program's own data folder, for what it remembers of other
    // applications (such as a skipped update of their feeds).
    QString dataDirectory;
    // The user's languages, most preferred first, for localized bundle names.
    QStringList preferredLanguages;
    // How long a network request may go without receiving a byte before it
    // ends in a time-out: the platform's default, which tests shorten.
    std::chrono::milliseconds networkIdleTimeout = std::chrono::seconds(60);

    // The running system as "major.minor.patch", for the system limits of
    // update feeds.
    QString systemVersion;

    // The values of a real installation.
    static SystemLayout production();
    // The platform's temporary folder of this user alone, which no other
    // user can write to; the folder may not exist yet.
    static QString privateTemporaryDirectory();
    // The running system's version; where the system is not the one the
    // feeds are written for, the oldest such system the program supports.
    static QString runningSystemVersion();
};

}  // namespace tarnel
