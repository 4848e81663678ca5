#pragma once

#include "core/records/application.h"
#include "core/records/cask.h"
#include "homebrew/cask_locations.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tarnel {

class CaskIndex;
class Logger;

// Which casks could be the same software as an application, and how sure
// that is. Every operation only reads the index it is given and logs through
// the thread-safe logger, so many applications may be matched at once
// against one snapshot. Pointers returned point into that snapshot.

// The casks found under the application's names in the lookups, plus those
// whose token overlaps a name, until 51 are found. In no particular order.
QList<const Cask*> findCaskCandidates(const Application& application, const CaskIndex& index);

// Every cask, in catalogue order, with an app installer or an uninstall path
// whose file name is the application's with its blanks removed.
QList<const Cask*> fallbackCaskSearch(const Application& application, const CaskIndex& index,
                                      Logger& logger);

// A cask kept for ranking, with its score.
struct ScoredCask {
    const Cask* cask = nullptr;
    double score = 0.0;
};

// Orders kept casks best first, cuts them to five and gives copies with the
// confidence the user is shown: the first keeps its score, each later one
// reads a little less sure. Near-equal scores are settled by the tokens, so
// that "foo" goes before "foo@beta".
QList<Cask> rankCaskOptions(const QList<ScoredCask>& kept);

// At most five options, best first, each a copy whose `confidence` is what
// the user is shown.
QList<Cask> findCaskOptions(const Application& application, const CaskIndex& index,
                            const CaskLocations& locations, Logger& logger);

// Whether `token` is a suffixed form ("foo@beta", "foo-nightly", "foo_cn")
// of one of `tokens`, in any case.
bool isVariantToken(const QString& token, const QStringList& tokens);

// The best-scoring of the installed casks that matches the application,
// with `confidence` set to its score; on a tie the earlier token wins.
std::optional<Cask> findInstalledCask(const Application& application,
                                      const QStringList& installedTokens, const CaskIndex& index,
                                      const CaskLocations& locations);

}  // namespace tarnel
