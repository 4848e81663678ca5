#pragma once

#include <QString>

namespace tarnel {

struct AppcastItem;
struct AppcastItemState;

// Remembers the user's "skip" answers per application, in the program's own
// data folder: the minor skip (the item's version), or for a major upgrade
// the major skip (its minimum autoupdate version and its own version).
class AppcastSkipStore {
public:
    explicit AppcastSkipStore(QString dataDirectory);

    // An answer equal to the stored one leaves the file alone. Throws
    // std::runtime_error when the answer cannot be written.
    void recordSkip(const QString& bundleIdentifier, const AppcastItem& item,
                    const AppcastItemState& state) const;

    // The file of one application's answers.
    QString fileFor(const QString& bundleIdentifier) const;

private:
    QString folder;
};

}  // namespace tarnel
