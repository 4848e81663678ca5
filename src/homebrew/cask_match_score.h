#pragma once

#include "core/records/application.h"
#include "core/records/cask.h"
#include "homebrew/cask_locations.h"

#include <QString>
#include <QStringView>

namespace tarnel {

// Names shorter than this never take part in the substring tests: "arc"
// would be found inside far too many tokens.
inline constexpr qsizetype minimumContainedNameLength = 4;

// What the score needs of one application, derived once so that ranking
// many casks against it lower-cases and normalises its names only once.
struct CaskMatchSubject {
    QString appPath;
    QString lowerFileName;
    QString lowerCompactFileName;
    QString lowerCompactBaseName;
    QString lowerName;
    QString lowerDisplay;
    QString normName;
    QString normDisplay;
    // Lower-cased with every blank-and-number run removed, so "Foo 2" and
    // "Foo 3" meet as "foo".
    QString numberlessName;
    QString numberlessDisplay;
    quint64 nameCharacterSet = 0;
    quint64 displayCharacterSet = 0;
    // Both lower-cased names have at least `minimumContainedNameLength`
    // characters.
    bool hasContainableNames = false;

    static CaskMatchSubject of(const Application& application);

    // The path's file name equals the compact file name, or its base name the
    // compact base name, in any case. For bundles whose file name has blanks
    // where the cask's has none.
    bool hasCompactNameOf(QStringView path) const;
    // `lowerToken` contains one of the names or one of them contains it. Only
    // meaningful with `hasContainableNames` and a long enough token.
    bool overlapsToken(const QString& lowerToken, quint64 tokenCharacterSet) const;
};

// How sure it is that `cask` installs `application`, from 0 to 1: the value
// of the first of twelve tests that holds. The order is deliberate, oddities
// included (see the tests). Reads no file: the names are those of the paths.
// `locations` expands "$APPDIR" and "~" in the cask's uninstall paths.
double matchConfidence(const Application& application, const Cask& cask,
                       const CaskLocations& locations);
double matchConfidence(const CaskMatchSubject& subject, const Cask& cask,
                       const CaskLocations& locations);

// Whether `path` fits an uninstall pattern with exactly one "*": the part
// before it is a prefix, case included, and every word after it occurs in
// `path` in any case. "?" is no wildcard here.
bool wildcardPathMatch(const QString& path, const QString& pattern);

}  // namespace tarnel
