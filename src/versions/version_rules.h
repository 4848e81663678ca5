#pragma once

#include "versions/parsed_version.h"

#include <QList>
#include <QString>

namespace tarnel {

struct Application;

// Each source of versions has its own ordering, and they are deliberately
// kept apart: each rule below answers one caller's question, quirks and all.
// All are pure and safe to call from any thread.

// Ordered numbers read from a version text; never negative, possibly empty.
using VersionComponents = QList<qint64>;

// Appcast ordering. The last dotted number is always taken as the build,
// since the texts compared are composites whose last number is a build.
ParsedVersion parseVersion(const QString& version);
bool isVersionNewer(const QString& candidate, const QString& baseline);

// One text for a short version and a build number, unless the short version
// already contains the build.
QString compositeVersion(const QString& primary, const QString& secondary);

// Cask ordering: the part after a comma, parenthesised notes and a trailing
// status word take no part.
VersionComponents brewVersionComponents(const QString& version);
bool isBrewVersionNewer(const QString& candidate, const QString& baseline);

// Screen ordering: as the cask ordering without the status word step, and
// without comparing the texts first.
VersionComponents displayVersionComponents(const QString& version);
bool isDisplayVersionNewer(const QString& candidate, const QString& baseline);

// Whether the adoption message calls the installed version the newer one. It
// compares the texts character by character, so "10.0" orders before "9.0";
// equal texts read as the cask being newer.
bool isInstalledVersionCalledNewer(const QString& installedVersion, const QString& caskVersion);

// The installed version as rows show it: the short version without
// parenthesised notes, or "Unknown".
QString installedDisplayVersion(const Application& application);

}  // namespace tarnel
