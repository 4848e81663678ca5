#pragma once

#include "core/system_layout.h"
#include "platform/appcast/appcast_check_context.h"

#include <QString>
#include <QStringList>

namespace tarnel {

// What the feed engine needs of the machine, taken from the system layout.
struct AppcastEngineSettings {
    // The running system as "major.minor.patch", for items' system limits.
    QString systemVersion;
    AppcastCheckContext::Architecture architecture = AppcastCheckContext::Architecture::arm64;
    // For items given in several languages.
    QStringList preferredLanguages;
    // A private folder under which downloads and extractions are made.
    QString temporaryDirectory;
    // The program's own data folder, for what the engine remembers of each
    // application; never the application's bundle or preferences.
    QString dataDirectory;

    static AppcastEngineSettings of(const SystemLayout& layout);
};

}  // namespace tarnel
