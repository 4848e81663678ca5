#include "homebrew/cask_match_score.h"

#include "homebrew/cask_key.h"
#include "homebrew/matching_text.h"

#include <QRegularExpression>

#include <algorithm>

namespace tarnel {

namespace {

QString withoutNumbers(const QString& lowered) {
    static const QRegularExpression blankAndNumber(QStringLiteral("\\s+\\d+"),
                                                   QRegularExpression::UseUnicodePropertiesOption);
    QString reduced = lowered;
    return reduced.remove(blankAndNumber);
}

bool hasWildcardCharacter(const QString& path) {
    return path.contains(u'*') || path.contains(u'?');
}

// Test 2: an uninstall path with "$APPDIR" or a wildcard that, expanded,
// names the bundle.
bool hasExpandedUninstallMatch(const CaskMatchSubject& subject, const Cask& cask,
                               const CaskLocations& locations) {
    for (const QString& path : cask.uninstallPaths) {
        if (!path.contains(QStringLiteral("$APPDIR")) && !hasWildcardCharacter(path)) {
            continue;
        }
        QString expanded = path;
        expanded.replace(QStringLiteral("$APPDIR"), locations.applicationsDirectory);
        expanded.replace(QStringLiteral("${APPDIR}"), locations.applicationsDirectory);
        expanded.replace(QStringLiteral("~"), locations.homeDirectory);
        if (expanded == subject.appPath) {
            return true;
        }
        if (hasWildcardCharacter(expanded) && wildcardPathMatch(subject.appPath, expanded)) {
            return true;
        }
    }
    return false;
}

template <typename Predicate>
bool anyAppInstaller(const Cask& cask, Predicate predicate) {
    return std::any_of(cask.installers.cbegin(), cask.installers.cend(),
                       [&](const Cask::Installer& installer) {
                           return installer.type == InstallerType::app && predicate(installer.path);
                       });
}

}  // namespace

CaskMatchSubject CaskMatchSubject::of(const Application& application) {
    CaskMatchSubject subject;
    subject.appPath = application.bundlePath;
    const QString fileName = lastPathComponent(application.bundlePath).toString();
    subject.lowerFileName = lowerCased(fileName);
    subject.lowerCompactFileName = removingBlanks(subject.lowerFileName);
    subject.lowerCompactBaseName =
        removingBlanks(removingPathExtension(subject.lowerFileName).toString());
    subject.lowerName = lowerCased(application.name);
    subject.lowerDisplay = lowerCased(application.displayName);
    subject.normName = normaliseCaskKey(subject.lowerName);
    subject.normDisplay = normaliseCaskKey(subject.lowerDisplay);
    subject.numberlessName = withoutNumbers(subject.lowerName);
    subject.numberlessDisplay = withoutNumbers(subject.lowerDisplay);
    subject.nameCharacterSet = characterSet(subject.lowerName);
    subject.displayCharacterSet = characterSet(subject.lowerDisplay);
    subject.hasContainableNames =
        characterCount(subject.lowerName) >= minimumContainedNameLength &&
        characterCount(subject.lowerDisplay) >= minimumContainedNameLength;
    return subject;
}

bool CaskMatchSubject::hasCompactNameOf(QStringView path) const {
    const QStringView fileName = lastPathComponent(path);
    return lowersTo(fileName, lowerCompactFileName) ||
           lowersTo(removingPathExtension(fileName), lowerCompactBaseName);
}

bool CaskMatchSubject::overlapsToken(const QString& lowerToken, quint64 tokenCharacterSet) const {
    return eitherContains(lowerToken, tokenCharacterSet, lowerName, nameCharacterSet) ||
           (lowerDisplay != lowerName &&
            eitherContains(lowerToken, tokenCharacterSet, lowerDisplay, displayCharacterSet));
}

double matchConfidence(const Application& application, const Cask& cask,
                       const CaskLocations& locations) {
    return matchConfidence(CaskMatchSubject::of(application), cask, locations);
}

double matchConfidence(const CaskMatchSubject& subject, const Cask& cask,
                       const CaskLocations& locations) {
    // Paths first: the uninstall stanza and the installers say most surely
    // which bundle a cask owns.
    if (cask.uninstallPaths.contains(subject.appPath)) {
        return 1.0;
    }
    if (hasExpandedUninstallMatch(subject, cask, locations)) {
        return 0.95;
    }
    if (anyAppInstaller(cask, [&](const QString& path) { return path == subject.appPath; })) {
        return 1.0;
    }
    if (anyAppInstaller(cask, [&](const QString& path) {
            return lowersTo(lastPathComponent(path), subject.lowerFileName);
        })) {
        return 0.9;
    }
    const auto hasCompactName = [&](const QString& path) { return subject.hasCompactNameOf(path); };
    if (anyAppInstaller(cask, hasCompactName) ||
        std::any_of(cask.uninstallPaths.cbegin(), cask.uninstallPaths.cend(), hasCompactName)) {
        return 0.8;
    }

    // Then names.
    const QString lowerToken = lowerCased(cask.name);
    const QString normToken = normaliseCaskKey(lowerToken);
    if (normToken == subject.normName || normToken == subject.normDisplay) {
        return 0.95;
    }
    if (lowerToken == subject.lowerName || lowerToken == subject.lowerDisplay) {
        return 0.95;
    }
    if (std::any_of(cask.officialNames.cbegin(), cask.officialNames.cend(),
                    [&](const QString& officialName) {
                        const QString official = lowerCased(officialName);
                        return official == subject.lowerName || official == subject.lowerDisplay;
                    })) {
        return 0.95;
    }
    if (anyAppInstaller(cask, [&](const QString& path) {
            const QString baseName = withoutNumbers(
                lowerCased(removingPathExtension(lastPathComponent(path)).toString()));
            return baseName == subject.numberlessName || baseName == subject.numberlessDisplay;
        })) {
        return 0.8;
    }
    if (subject.hasContainableNames && characterCount(lowerToken) >= minimumContainedNameLength &&
        subject.overlapsToken(lowerToken, characterSet(lowerToken))) {
        return 0.5;
    }
    return 0.0;
}

bool wildcardPathMatch(const QString& path, const QString& pattern) {
    const qsizetype star = pattern.indexOf(u'*');
    if (star < 0 || pattern.indexOf(u'*', star + 1) >= 0) {
        return false;
    }
    if (!path.startsWith(QStringView(pattern).left(star))) {
        return false;
    }
    const QStringView rest = QStringView(pattern).mid(star + 1);
    qsizetype position = 0;
    while (position < rest.size()) {
        while (position < rest.size() && rest[position].isSpace()) {
            ++position;
        }
        const qsizetype start = position;
        while (position < rest.size() && !rest[position].isSpace()) {
            ++position;
        }
        if (position > start &&
            !path.contains(rest.mid(start, position - start), Qt::CaseInsensitive)) {
            return false;
        }
    }
    return true;
}

}  // namespace tarnel
