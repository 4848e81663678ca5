#include "bundle_workshop.h"

#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>

BundleWorkshop::BundleWorkshop() {
    addFolder(root());
}

QString BundleWorkshop::root() const {
    return folder.path() + QStringLiteral("/Applications");
}

QString BundleWorkshop::elsewhere() const {
    return folder.path() + QStringLiteral("/Elsewhere");
}

QString BundleWorkshop::pathOf(const QString& path) const {
    return QDir::isAbsolutePath(path) ? path : root() + u'/' + path;
}

QString BundleWorkshop::addFolder(const QString& path) const {
    const QString full = pathOf(path);
    if (!QDir().mkpath(full)) {
        throw std::runtime_error("cannot make a test folder");
    }
    return full;
}

QString BundleWorkshop::addBundle(const QString& path, const QByteArray& infoPlist) const {
    const QString bundle = pathOf(path);
    writeFile(bundle + QStringLiteral("/Contents/Info.plist"), infoPlist);
    return bundle;
}

QString BundleWorkshop::addFixture(const QString& path, const QString& fixture) const {
    return addBundle(path, fixtureInfoPlist(fixture));
}

void BundleWorkshop::addStrings(const QString& bundlePath, const QString& folderName,
                                const QByteArray& strings) const {
    writeFile(bundlePath +
                  QStringLiteral("/Contents/Resources/%1.lproj/InfoPlist.strings").arg(folderName),
              strings);
}

void BundleWorkshop::addLink(const QString& path, const QString& target) const {
    const QString link = pathOf(path);
    addFolder(QFileInfo(link).path());
    if (!QFile::link(target, link)) {
        throw std::runtime_error("cannot make a test link");
    }
}

QByteArray fixtureInfoPlist(const QString& fixture) {
    QFile file(fixturesDir() + QStringLiteral("/bundles/%1.app/Contents/Info.plist").arg(fixture));
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("missing fixture");
    }
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        throw std::runtime_error("cannot write a test file");
    }
}
