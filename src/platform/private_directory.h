#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

#include <optional>

namespace tarnel {

// A folder that only the user may change, for files that another user must
// never plant or replace, such as the script that receives the administrator
// password. Every operation opens the folder afresh and checks it again: a
// folder, not a link, owned by the user and writable by nobody else.
class PrivateDirectory {
public:
    explicit PrivateDirectory(QString path);

    // Whether `name` in the folder is a regular file, not a link, owned by the
    // user and with exactly `mode`; false also when the folder fails its check.
    bool holdsOwnFile(const QString& name, mode_t mode) const;

    // Writes `bytes` as `name` with `mode`: a new file beside it, renamed over
    // whatever stood at the name, so that a link there is replaced and never
    // followed, and a read-only file is no obstacle. The folder is made, with
    // mode 0700, when it is missing. Gives what went wrong, or nothing.
    std::optional<QString> replaceFile(const QString& name, const QByteArray& bytes,
                                       mode_t mode) const;

private:
    QString folderPath;
};

}  // namespace tarnel
