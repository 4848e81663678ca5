#pragma once

#include "core/records/application.h"
#include "updates/update_lists.h"

#include <QList>
#include <QString>

namespace tarnel {

// The pending updates, one line each with the application's display name,
// the source and "{current} -> {available}": Homebrew first, then Sparkle,
// then the Mac App Store, each ordered by name; then a count per source.
// With nothing pending, a line that says so. `applications` are those the
// updates were found for, which give the names.
QString updateTable(const UpdateLists& updates, const QList<Application>& applications);

}  // namespace tarnel
