#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

// Builds application bundles in a temporary applications folder, from the
// Info.plist files of real bundles in the shared fixtures.
class BundleWorkshop {
public:
    BundleWorkshop();

    // The applications folder.
    QString root() const;
    // A folder beside the applications folder, for the targets of links.
    QString elsewhere() const;

    // Makes the folders of `path` and gives it.
    QString addFolder(const QString& path) const;
    // Makes `path` a bundle with these Info.plist bytes and gives its path.
    QString addBundle(const QString& path, const QByteArray& infoPlist) const;
    // Makes `path` a bundle with the Info.plist of a real one.
    QString addFixture(const QString& path, const QString& fixture = QStringLiteral("Ice")) const;
    // Writes `Contents/Resources/{folder}.lproj/InfoPlist.strings` in a bundle.
    void addStrings(const QString& bundlePath, const QString& folder,
                    const QByteArray& strings) const;
    // Makes `path` a symbolic link to `target`.
    void addLink(const QString& path, const QString& target) const;

    // Under root() unless absolute.
    QString pathOf(const QString& path) const;

private:
    QTemporaryDir folder;
};

// The Info.plist bytes of a real bundle among the fixtures, such as "Ice".
QByteArray fixtureInfoPlist(const QString& fixture);
// Writes `bytes` to `path`, making its folders.
void writeFile(const QString& path, const QByteArray& bytes);
