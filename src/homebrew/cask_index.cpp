#include "homebrew/cask_index.h"

#include "homebrew/cask_key.h"
#include "homebrew/matching_text.h"

#include <utility>

namespace tarnel {

CaskIndex::CaskIndex(QList<Cask> casks) : catalogue(std::move(casks)) {
    buildCaskLookups();
}

const CaskIndex::NameEntry* CaskIndex::entry(const QString& key) const {
    const auto found = names.constFind(key);
    return found == names.constEnd() ? nullptr : &found.value();
}

const Cask* CaskIndex::caskNameLookup(const QString& key) const {
    const NameEntry* found = entry(key);
    return found ? found->caskNamed : nullptr;
}

const QList<const Cask*>& CaskIndex::transformedNameLookup(const QString& key) const {
    static const QList<const Cask*> none;
    const NameEntry* found = entry(key);
    return found ? found->withTransformedName : none;
}

const QList<const Cask*>& CaskIndex::officialNameLookup(const QString& key) const {
    static const QList<const Cask*> none;
    const NameEntry* found = entry(key);
    return found ? found->withOfficialName : none;
}

const Cask* CaskIndex::firstCaskWithToken(const QString& token) const {
    if (lowerCased(token) != token) {
        return firstWithMixedCaseToken.value(token, nullptr);
    }
    const NameEntry* found = entry(token);
    return found ? found->firstWithToken : nullptr;
}

void CaskIndex::buildCaskLookups() {
    lowered.reserve(catalogue.size());
    names.reserve(2 * catalogue.size());
    // Most keys of one cask are the same text, so the last entry found is
    // kept at hand. Only `entryFor` inserts, and it moves `last` whenever it
    // does, so `last` never outlives a rehash.
    QString lastKey;
    NameEntry* last = nullptr;
    const auto entryFor = [&](const QString& key) -> NameEntry& {
        if (last == nullptr || key != lastKey) {
            last = &names[key];
            lastKey = key;
        }
        return *last;
    };

    for (const Cask& cask : catalogue) {
        const QString key = lowerCased(cask.name);
        lowered.append({key, characterCount(key), characterSet(key)});
        NameEntry& named = entryFor(key);
        named.caskNamed = &cask;
        if (key != cask.name) {
            if (!firstWithMixedCaseToken.contains(cask.name)) {
                firstWithMixedCaseToken.insert(cask.name, &cask);
            }
        } else if (named.firstWithToken == nullptr) {
            named.firstWithToken = &cask;
        }
        entryFor(normaliseCaskKey(key)).withTransformedName.append(&cask);
        for (const QString& officialName : cask.officialNames) {
            const QString official = lowerCased(officialName);
            entryFor(official).withOfficialName.append(&cask);
            entryFor(normaliseCaskKey(official)).withTransformedName.append(&cask);
        }
    }
}

}  // namespace tarnel
