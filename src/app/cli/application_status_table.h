#pragma once

#include "core/records/application.h"

#include <QList>
#include <QString>

namespace tarnel {

// What the program makes of each application, one line each, then a summary:
// managed by Homebrew with its cask, adoptable with the top option and its
// confidence, from the store, excluded, or without a cask.
QString applicationStatusTable(const QList<Application>& applications);

// The applications ordered by display name, as a person reads a list.
QList<Application> sortedByDisplayName(QList<Application> applications);

}  // namespace tarnel
