#pragma once

#include <QJsonArray>
#include <QString>

#include <stdexcept>

namespace tarnel {

class SettingsStore;

class SandboxError : public std::runtime_error {
public:
    explicit SandboxError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

// Lays out a simulated Mac in a folder: an applications folder of real
// bundles (some binary, some in subfolders or behind a link, a few that a
// scan must skip), `brew` and `mas` at their usual places answering from
// states in which some applications are adopted or from the store, the user's
// settings, a catalogue to serve, a certificate authority of its own, and the
// layout file that describes it all. README.md lists the pending updates.
class SandboxBuilder {
public:
    // `toolsFolder` holds fake-brew, fake-mas and tarnel-askpass.
    SandboxBuilder(QString root, QString sharedFolder, QString toolsFolder);

    // Checks the shared folder before it writes anything, and takes away
    // what it made when a step fails, so that a failed build leaves no half
    // of a sandbox behind.
    void build() const;

private:
    QString path(const QString& relative) const;
    QJsonArray readSharedCatalogue() const;
    void checkSharedBundles() const;
    void layOut(const QJsonArray& catalogue) const;
    void placeBundles() const;
    void installTool(const QString& tool, const QString& where, const QString& stateFolder) const;
    void writeBrewState(const QJsonArray& catalogue) const;
    void writeStoreState() const;
    void writeSettings() const;
    void skipOfferedRelease(SettingsStore& settings) const;
    void writeCatalogue(const QJsonArray& catalogue) const;
    void writeLayout() const;

    QString root;
    QString sharedFolder;
    QString toolsFolder;
};

}  // namespace tarnel
