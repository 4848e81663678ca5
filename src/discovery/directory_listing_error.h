#pragma once

#include <QString>

#include <stdexcept>

namespace tarnel {

// A folder could not be listed; `reason` is the system's own words.
class DirectoryListingError : public std::runtime_error {
public:
    DirectoryListingError(QString path, QString reason);

    const QString& path() const { return folder; }
    const QString& reason() const { return systemReason; }

private:
    QString folder;
    QString systemReason;
};

}  // namespace tarnel
