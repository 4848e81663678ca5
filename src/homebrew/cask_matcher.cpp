#include "homebrew/cask_matcher.h"

#include "core/logger.h"
#include "homebrew/cask_index.h"
#include "homebrew/cask_match_score.h"
#include "homebrew/matching_text.h"

#include <QSet>

#include <algorithm>
#include <cmath>

namespace tarnel {

namespace {

// The substring scan stops once this many candidates are known.
constexpr qsizetype candidateLimit = 51;
constexpr qsizetype optionLimit = 5;
// A primary candidate must score above this; a fallback one above the lower
// bar, which lets a substring match through once its file name agrees.
constexpr double candidateThreshold = 0.5;
constexpr double fallbackThreshold = 0.4;
constexpr double installedThreshold = 0.5;
// Scores this close count as a tie, settled by the token instead.
constexpr double nearTie = 0.05;
// Options after the first read a little less sure, never surer than this.
constexpr double followingOptionFactor = 0.9;
constexpr double followingOptionCap = 0.95;

// Keeps the order of arrival and each cask once.
class CandidateSet {
public:
    void add(const Cask* cask) {
        if (cask != nullptr && !seen.contains(cask)) {
            seen.insert(cask);
            ordered.append(cask);
        }
    }
    void add(const QList<const Cask*>& casks) {
        for (const Cask* cask : casks) {
            add(cask);
        }
    }
    qsizetype size() const { return ordered.size(); }
    QList<const Cask*> takeList() { return std::move(ordered); }

private:
    QSet<const Cask*> seen;
    QList<const Cask*> ordered;
};

QList<const Cask*> candidatesFor(const CaskMatchSubject& subject, const CaskIndex& index) {
    CandidateSet candidates;
    candidates.add(index.caskNameLookup(subject.lowerName));
    candidates.add(index.caskNameLookup(subject.lowerDisplay));
    candidates.add(index.officialNameLookup(subject.lowerName));
    candidates.add(index.officialNameLookup(subject.lowerDisplay));
    candidates.add(index.transformedNameLookup(subject.normName));
    candidates.add(index.transformedNameLookup(subject.normDisplay));
    // Short application names make the substring test false for every cask.
    if (!subject.hasContainableNames) {
        return candidates.takeList();
    }
    const QList<Cask>& casks = index.casks();
    const QList<CaskIndex::LoweredToken>& tokens = index.loweredTokens();
    for (qsizetype position = 0; position < casks.size(); ++position) {
        const CaskIndex::LoweredToken& token = tokens[position];
        if (token.characterCount >= minimumContainedNameLength &&
            subject.overlapsToken(token.text, token.characterSet)) {
            candidates.add(&casks[position]);
        }
        if (candidates.size() >= candidateLimit) {
            break;
        }
    }
    return candidates.takeList();
}

QList<const Cask*> fallbackFor(const CaskMatchSubject& subject, const QString& displayName,
                               const CaskIndex& index, Logger& logger) {
    QList<const Cask*> found;
    const auto hasCompactName = [&](const QString& path) { return subject.hasCompactNameOf(path); };
    for (const Cask& cask : index.casks()) {
        const bool installerMatches = std::any_of(cask.installers.cbegin(), cask.installers.cend(),
                                                  [&](const Cask::Installer& installer) {
                                                      return installer.type == InstallerType::app &&
                                                             hasCompactName(installer.path);
                                                  });
        if (installerMatches ||
            std::any_of(cask.uninstallPaths.cbegin(), cask.uninstallPaths.cend(), hasCompactName)) {
            found.append(&cask);
        }
    }
    if (!found.isEmpty()) {
        logger.info(QStringLiteral("⚡ Fallback search found %1 matches for %2")
                        .arg(QString::number(found.size()), displayName));
    }
    return found;
}

struct LoweredTokenName {
    QString text;
    qsizetype characterCount = 0;
};

bool isVariantOf(const QString& loweredToken, const QList<LoweredTokenName>& others) {
    return std::any_of(others.cbegin(), others.cend(), [&](const LoweredTokenName& other) {
        if (other.text == loweredToken || other.characterCount <= 2 ||
            loweredToken.size() <= other.text.size() || !loweredToken.startsWith(other.text)) {
            return false;
        }
        const QChar separator = loweredToken[other.text.size()];
        return separator == u'@' || separator == u'-' || separator == u'_';
    });
}

QList<LoweredTokenName> loweredTokenNames(const QStringList& tokens) {
    QList<LoweredTokenName> lowered;
    lowered.reserve(tokens.size());
    for (const QString& token : tokens) {
        const QString text = lowerCased(token);
        lowered.append({text, characterCount(text)});
    }
    return lowered;
}

struct RankedCask {
    ScoredCask scored;
    bool isVariant = false;
    qsizetype tokenLength = 0;
};

// At near-equal scores the plain token goes before its variants, then the
// shorter token first; otherwise the higher score leads.
bool ranksBefore(const RankedCask& a, const RankedCask& b) {
    if (std::abs(a.scored.score - b.scored.score) <= nearTie) {
        if (a.isVariant != b.isVariant) {
            return !a.isVariant;
        }
        return a.tokenLength < b.tokenLength;
    }
    return a.scored.score > b.scored.score;
}

// A stable insertion sort: the order above is not transitive across chains
// of near ties, which library sorts do not promise to survive. The lists are
// short.
void rank(QList<RankedCask>& ranked) {
    for (qsizetype next = 1; next < ranked.size(); ++next) {
        qsizetype place = next;
        while (place > 0 && ranksBefore(ranked[next], ranked[place - 1])) {
            --place;
        }
        std::rotate(ranked.begin() + place, ranked.begin() + next, ranked.begin() + next + 1);
    }
}

QList<RankedCask> withTokenFacts(const QList<ScoredCask>& kept) {
    QStringList tokens;
    tokens.reserve(kept.size());
    for (const ScoredCask& entry : kept) {
        tokens.append(entry.cask->name);
    }
    const QList<LoweredTokenName> lowered = loweredTokenNames(tokens);
    QList<RankedCask> ranked;
    ranked.reserve(kept.size());
    for (qsizetype position = 0; position < kept.size(); ++position) {
        ranked.append({kept[position], isVariantOf(lowered[position].text, lowered),
                       characterCount(kept[position].cask->name)});
    }
    return ranked;
}

QList<ScoredCask> scoreAbove(const QList<const Cask*>& casks, double threshold,
                             const CaskMatchSubject& subject, const CaskLocations& locations) {
    QList<ScoredCask> kept;
    for (const Cask* cask : casks) {
        const double score = matchConfidence(subject, *cask, locations);
        if (score > threshold) {
            kept.append({cask, score});
        }
    }
    return kept;
}

}  // namespace

QList<const Cask*> findCaskCandidates(const Application& application, const CaskIndex& index) {
    return candidatesFor(CaskMatchSubject::of(application), index);
}

QList<const Cask*> fallbackCaskSearch(const Application& application, const CaskIndex& index,
                                      Logger& logger) {
    return fallbackFor(CaskMatchSubject::of(application), application.displayName, index, logger);
}

QList<Cask> rankCaskOptions(const QList<ScoredCask>& kept) {
    QList<RankedCask> ranked = withTokenFacts(kept);
    rank(ranked);
    QList<Cask> options;
    for (const RankedCask& entry : ranked.first(std::min(ranked.size(), optionLimit))) {
        const double score = entry.scored.score;
        const double shown =
            options.isEmpty() ? score : std::min(score * followingOptionFactor, followingOptionCap);
        Cask option = *entry.scored.cask;
        option.confidence = std::clamp(shown, 0.0, 1.0);
        options.append(std::move(option));
    }
    return options;
}

QList<Cask> findCaskOptions(const Application& application, const CaskIndex& index,
                            const CaskLocations& locations, Logger& logger) {
    const CaskMatchSubject subject = CaskMatchSubject::of(application);
    QList<ScoredCask> kept =
        scoreAbove(candidatesFor(subject, index), candidateThreshold, subject, locations);
    if (kept.isEmpty()) {
        kept = scoreAbove(fallbackFor(subject, application.displayName, index, logger),
                          fallbackThreshold, subject, locations);
    }
    QList<Cask> options = rankCaskOptions(kept);
    if (options.isEmpty()) {
        logger.info(QStringLiteral("→ %1 → no cask options found").arg(application.displayName));
    }
    return options;
}

bool isVariantToken(const QString& token, const QStringList& tokens) {
    return isVariantOf(lowerCased(token), loweredTokenNames(tokens));
}

std::optional<Cask> findInstalledCask(const Application& application,
                                      const QStringList& installedTokens, const CaskIndex& index,
                                      const CaskLocations& locations) {
    const CaskMatchSubject subject = CaskMatchSubject::of(application);
    std::optional<ScoredCask> best;
    for (const QString& token : installedTokens) {
        const Cask* cask = index.firstCaskWithToken(token);
        if (cask == nullptr) {
            continue;
        }
        const double score = matchConfidence(subject, *cask, locations);
        if (score > installedThreshold && (!best || score > best->score)) {
            best = ScoredCask{cask, score};
        }
    }
    if (!best) {
        return std::nullopt;
    }
    Cask installed = *best->cask;
    installed.confidence = best->score;
    return installed;
}

}  // namespace tarnel
