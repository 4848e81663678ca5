#include "platform/appcast/extraction_path_guard.h"

#include "platform/appcast/update_install_error.h"

#include <QList>
#include <QString>

namespace tarnel {

namespace {

[[noreturn]] void refuse(const QByteArray& path, const char* reason) {
    throw UpdateInstallError::unsafeEntry(QString::fromLocal8Bit(path),
                                          QString::fromLatin1(reason));
}

QList<QByteArray> namesOf(const QByteArray& path) {
    QList<QByteArray> names;
    for (const QByteArray& name : path.split('/')) {
        if (!name.isEmpty() && name != ".") {
            names.append(name);
        }
    }
    return names;
}

}  // namespace

ExtractionPathGuard::ExtractionPathGuard(qsizetype maximumPathLength)
    : maximumPathLength(maximumPathLength) {}

QByteArray ExtractionPathGuard::cleanPath(const QByteArray& entryPath) const {
    if (entryPath.startsWith('/')) {
        refuse(entryPath, "has an absolute path");
    }
    const QList<QByteArray> names = namesOf(entryPath);
    if (names.contains("..")) {
        refuse(entryPath, "climbs out of its folder with \"..\"");
    }
    QByteArray path = names.join('/');
    if (path.size() > maximumPathLength) {
        refuse(entryPath, "has a path too long to extract");
    }
    return path;
}

void ExtractionPathGuard::checkNotThroughLink(const QByteArray& path) const {
    for (qsizetype end = path.indexOf('/'); end >= 0; end = path.indexOf('/', end + 1)) {
        if (links.contains(path.left(end))) {
            refuse(path, "would be written through a link");
        }
    }
    if (links.contains(path)) {
        refuse(path, "would replace a link");
    }
}

void ExtractionPathGuard::checkLinkTarget(const QByteArray& path, const QByteArray& target) const {
    if (target.isEmpty() || target.startsWith('/')) {
        refuse(path, "is a link to an absolute path");
    }
    qsizetype climbs = 0;
    bool descended = false;
    for (const QByteArray& name : namesOf(target)) {
        if (name != "..") {
            descended = true;
        } else if (descended) {
            refuse(path, "is a link that climbs with \"..\" after descending");
        } else {
            ++climbs;
        }
    }
    const qsizetype folderDepth = namesOf(path).size() - 1;
    if (climbs > folderDepth) {
        refuse(path, "is a link that points outside the extraction folder");
    }
}

void ExtractionPathGuard::checkHardLinkTarget(const QByteArray& path,
                                              const QByteArray& target) const {
    if (!files.contains(target)) {
        refuse(path, "is a hard link to something other than a file extracted before it");
    }
}

}  // namespace tarnel
