#pragma once

#include "core/records/application.h"
#include "core/records/sparkle_info.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace tarnel {

class Logger;
class PropertyListDictionary;

// Reads the bundle at `bundlePath` into an Application with the bundle's own
// facts; what discovery adds later is left empty. Absent when the bundle is
// to be skipped, with a WARNING where something is wrong with it. Never
// throws, touches no shared state and may run on many threads at once.
// `preferredLanguages` pick the localized name, most preferred first.
std::optional<Application> createApplication(const QString& bundlePath,
                                             const QStringList& preferredLanguages, Logger& logger);

// The feed configuration that an Info.plist declares; absent without a text
// `SUFeedURL`.
std::optional<SparkleInfo> readSparkleInfo(const PropertyListDictionary& plist);

}  // namespace tarnel
