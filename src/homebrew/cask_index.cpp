#include "homebrew/cask_index.h"

#include "homebrew/cask_key.h"
#include "homebrew/matching_text.h"

#include <utility>

namespace tarnel {

CaskIndex::CaskIndex(QList<Cask> casks) : catalogue(std::move(casks)) {
    buildCaskLookups();
}

const Cask* CaskIndex::firstCaskWithToken(const QString& token) const {
    return firstByToken.value(token, nullptr);
}

void CaskIndex::buildCaskLookups() {
    lowered.reserve(catalogue.size());
    caskNames.reserve(catalogue.size());
    firstByToken.reserve(catalogue.size());
    // Most casks have one official name, filed under itself and its key.
    officialNames.reserve(catalogue.size());
    transformedNames.reserve(2 * catalogue.size());
    for (const Cask& cask : catalogue) {
        const QString key = lowerCased(cask.name);
        lowered.append({key, characterCount(key), characterSet(key)});
        caskNames.insert(key, &cask);
        transformedNames[normaliseCaskKey(key)].append(&cask);
        for (const QString& officialName : cask.officialNames) {
            const QString official = lowerCased(officialName);
            officialNames[official].append(&cask);
            transformedNames[normaliseCaskKey(official)].append(&cask);
        }
    }
    // Backwards, so that the earliest cask with a token is inserted last and stays.
    for (auto cask = catalogue.crbegin(); cask != catalogue.crend(); ++cask) {
        firstByToken.insert(cask->name, &*cask);
    }
}

}  // namespace tarnel
