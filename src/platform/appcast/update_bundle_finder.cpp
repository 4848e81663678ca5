#include "platform/appcast/update_bundle_finder.h"

#include "core/async/cancellation_token.h"
#include "platform/appcast/bundle_manifest.h"
#include "platform/appcast/file_tree.h"
#include "platform/appcast/update_install_error.h"

#include <QFile>
#include <QFileInfo>

#include <optional>

namespace tarnel {

namespace {

bool isPackageName(const QString& name) {
    return name.endsWith(QLatin1StringView(".pkg")) || name.endsWith(QLatin1StringView(".mpkg"));
}

class UpdateSearch {
public:
    UpdateSearch(const QString& installedFileName, const BundleManifest& installed)
        : installed(installed), baseName(QFileInfo(installedFileName).completeBaseName()) {
        names.append(installedFileName);
        const QString suffix = QFileInfo(installedFileName).suffix();
        if (!installed.name.isEmpty() && !suffix.isEmpty()) {
            names.append(installed.name + u'.' + suffix);
        }
    }

    // Whether the search is over.
    bool isDone() const { return match.has_value(); }

    void examine(const QString& path, bool isFolder) {
        const QString name = QFileInfo(path).fileName();
        if (isFolder && names.contains(name)) {
            match = FoundUpdate{FoundUpdate::Kind::application, path};
        } else if (isPackageName(name)) {
            if (QFileInfo(name).completeBaseName() == baseName) {
                match = FoundUpdate{FoundUpdate::Kind::package, path};
            } else if (!otherPackage) {
                otherPackage = FoundUpdate{FoundUpdate::Kind::package, path};
            }
        } else if (isFolder && !QFileInfo(name).suffix().isEmpty() && isSameBundle(path)) {
            match = FoundUpdate{FoundUpdate::Kind::application, path};
        }
    }

    FoundUpdate result() const {
        if (match) {
            return *match;
        }
        if (otherPackage) {
            return *otherPackage;
        }
        throw UpdateInstallError::missingUpdate();
    }

private:
    bool isSameBundle(const QString& path) const {
        const auto manifest = readBundleManifest(path);
        return manifest && !installed.identifier.isEmpty() &&
               manifest->identifier == installed.identifier;
    }

    const BundleManifest& installed;
    QString baseName;
    QStringList names;
    std::optional<FoundUpdate> match;
    std::optional<FoundUpdate> otherPackage;
};

}  // namespace

FoundUpdate findUpdateBundle(const QString& extractionFolder, const QString& installedFileName,
                             const BundleManifest& installed, const CancellationToken& token) {
    UpdateSearch search(installedFileName, installed);
    const QByteArray root = QFile::encodeName(extractionFolder);
    walkFileTree(root, [&](const QByteArray& relativePath, const struct stat& status) {
        token.throwIfCancelled();
        if (relativePath.isEmpty() || search.isDone() || S_ISLNK(status.st_mode)) {
            return;
        }
        search.examine(QFile::decodeName(root + '/' + relativePath), S_ISDIR(status.st_mode));
    });
    return search.result();
}

}  // namespace tarnel
