#pragma once

#include "core/records/cask.h"

#include <QHash>
#include <QList>
#include <QString>

namespace tarnel {

// An immutable snapshot of the catalogue with its name lookups. It is built
// once on the worker pool and then swapped in whole as a
// `std::shared_ptr<const CaskIndex>`, so any number of threads may read it at
// once. The lookups point into `casks()`, which is why an index can be
// neither copied nor moved.
class CaskIndex {
public:
    // A cask's token lower-cased, kept beside the cask so that scanning the
    // whole catalogue for every application lower-cases nothing.
    struct LoweredToken {
        QString text;
        qsizetype characterCount = 0;
        quint64 characterSet = 0;
    };

    explicit CaskIndex(QList<Cask> casks = {});
    CaskIndex(const CaskIndex&) = delete;
    CaskIndex& operator=(const CaskIndex&) = delete;

    const QList<Cask>& casks() const { return catalogue; }
    // Parallel to `casks()`.
    const QList<LoweredToken>& loweredTokens() const { return lowered; }

    // Key: the lower-cased token; a later cask with the same key wins.
    const Cask* caskNameLookup(const QString& key) const;
    // Key: `normaliseCaskKey` of a lower-cased token or official name, in
    // catalogue order. A cask whose token and official name meet under one
    // key stands there twice.
    const QList<const Cask*>& transformedNameLookup(const QString& key) const;
    // Key: a lower-cased official name, in catalogue order.
    const QList<const Cask*>& officialNameLookup(const QString& key) const;
    // How many keys the three lookups hold between them.
    qsizetype lookupKeyCount() const { return names.size(); }

    // The first cask whose token equals `token` exactly, case included.
    const Cask* firstCaskWithToken(const QString& token) const;

private:
    // The three lookups share their keys: "firefox" is a token, an official
    // name lower-cased and the key of both, so one entry serves all of them.
    struct NameEntry {
        const Cask* caskNamed = nullptr;
        // The first cask whose token is exactly the key.
        const Cask* firstWithToken = nullptr;
        QList<const Cask*> withOfficialName;
        QList<const Cask*> withTransformedName;
    };

    void buildCaskLookups();
    const NameEntry* entry(const QString& key) const;

    const QList<Cask> catalogue;
    QList<LoweredToken> lowered;
    QHash<QString, NameEntry> names;
    // Tokens that are not their own lower-case form have no entry of their own.
    QHash<QString, const Cask*> firstWithMixedCaseToken;
};

}  // namespace tarnel
