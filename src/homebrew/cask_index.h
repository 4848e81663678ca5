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
    const QHash<QString, const Cask*>& caskNameLookup() const { return caskNames; }
    // Key: `normaliseCaskKey` of a lower-cased token or official name. A cask
    // whose token and official name meet under one key stands there twice.
    const QHash<QString, QList<const Cask*>>& transformedNameLookup() const {
        return transformedNames;
    }
    // Key: a lower-cased official name.
    const QHash<QString, QList<const Cask*>>& officialNameLookup() const { return officialNames; }

    // The first cask whose token equals `token` exactly, case included.
    const Cask* firstCaskWithToken(const QString& token) const;

private:
    void buildCaskLookups();

    const QList<Cask> catalogue;
    QList<LoweredToken> lowered;
    QHash<QString, const Cask*> caskNames;
    QHash<QString, QList<const Cask*>> transformedNames;
    QHash<QString, QList<const Cask*>> officialNames;
    QHash<QString, const Cask*> firstByToken;
};

}  // namespace tarnel
