#pragma once

#include <QString>
#include <QStringList>

namespace tarnel {

// The paths of the application bundles in `root`, its subfolders and their
// subfolders, never inside a bundle. Symbolic links are followed and a linked
// entry is given by its target's path; hidden entries count. A bundle reached
// twice is given twice. Blocking: run it on the worker pool.
//
// Throws DirectoryListingError when `root` itself cannot be listed; a deeper
// folder that cannot be listed is passed over.
QStringList scanApplicationBundles(const QString& root);

}  // namespace tarnel
