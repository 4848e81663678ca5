#pragma once

#include <QString>

namespace tarnel::fakemas {

// Sets `CFBundleShortVersionString` in the bundle's Info.plist, keeping the
// file's format (XML or binary). Throws std::runtime_error when the file cannot
// be read, parsed or written.
void writeBundleVersion(const QString& bundlePath, const QString& version);

}  // namespace tarnel::fakemas
