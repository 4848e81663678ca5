#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <memory>
#include <optional>

namespace tarnel {

// The root dictionary of an XML or binary property list, read by key. Text
// and booleans are told apart; any other value only counts as present.
// Move-only; reading it from several threads at once is safe.
class PropertyListDictionary {
public:
    // Throws PropertyListError when the bytes are no property list or its
    // root is no dictionary.
    static PropertyListDictionary fromData(const QByteArray& data);

    // Keys are UTF-8, as the format stores them.
    bool contains(const char* key) const;
    std::optional<QString> text(const char* key) const;
    std::optional<bool> boolean(const char* key) const;
    // Every entry whose value is text.
    QHash<QString, QString> textEntries() const;

private:
    struct NodeRelease {
        void operator()(void* node) const;
    };

    explicit PropertyListDictionary(void* root);
    void* item(const char* key) const;

    std::unique_ptr<void, NodeRelease> root;
};

}  // namespace tarnel
