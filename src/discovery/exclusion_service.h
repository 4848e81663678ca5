#pragma once

#include "core/records/application.h"

#include <QList>
#include <QSet>
#include <QString>

namespace tarnel {

class Logger;
class SettingsStore;

// The two sets of excluded bundle identifiers: the hard-coded ones, which
// remove an application altogether, and the user's, which keep it listed
// as excluded so that the user can bring it back. Lives on the main thread.
class ExclusionService {
public:
    // Loads the user's exclusions from the settings at once.
    ExclusionService(Logger& logger, SettingsStore& settings);

    const QSet<QString>& userExclusions() const { return excludedIdentifiers; }
    const QSet<QString>& hardCodedExclusions() const { return fixedIdentifiers; }

    void excludeApplication(const Application& application);
    void includeApplication(const Application& application);
    void loadUserExclusions();
    void saveUserExclusions();

private:
    Logger& logger;
    SettingsStore& settings;
    QSet<QString> excludedIdentifiers;
    QSet<QString> fixedIdentifiers;
};

// Drops the applications whose bundle identifier is hard-coded and marks
// those that the user excluded; the hard-coded test comes first. Both compare
// whole identifiers exactly, the empty one included.
QList<Application> applyExclusions(QList<Application> applications,
                                   const QSet<QString>& hardCodedExclusions,
                                   const QSet<QString>& userExclusions);

}  // namespace tarnel
