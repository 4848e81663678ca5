#pragma once

#include <QByteArray>
#include <QString>

namespace tarnel {

// A new folder of our own (mode 0700) inside `parent`, named `prefix` and a
// random suffix, removed with everything in it when the object goes.
// Throws UpdateInstallError::installationFailed when it cannot be made.
class TemporaryFolder {
public:
    TemporaryFolder(const QString& parent, const QString& prefix);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const QString& path() const { return folderPath; }
    // A path inside the folder.
    QString filePath(const QString& name) const { return folderPath + u'/' + name; }

private:
    QString folderPath;
};

}  // namespace tarnel
