#include "platform/appcast/update_installer.h"

#include "core/async/cancellation_token.h"
#include "platform/appcast/archive_signature.h"
#include "platform/appcast/bundle_replacer.h"
#include "platform/appcast/update_acceptance.h"
#include "platform/appcast/update_bundle_finder.h"
#include "platform/appcast/update_install_error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tarnel {

namespace {

BundleManifest installedManifest(const UpdateInstallRequest& request) {
    const auto manifest = readBundleManifest(request.installedPath);
    if (!manifest) {
        throw UpdateInstallError::installedBundleUnreadable(request.installedPath);
    }
    if (manifest->identifier.isEmpty() || manifest->identifier != request.bundleIdentifier) {
        throw UpdateInstallError::installedBundleChanged(request.installedPath,
                                                         request.bundleIdentifier);
    }
    return *manifest;
}

QByteArray leadingBytes(const QString& archivePath) {
    QFile archive(archivePath);
    if (!archive.open(QIODevice::ReadOnly)) {
        throw UpdateInstallError::unreadableArchive(archive.errorString());
    }
    return archive.read(archiveSignatureLength);
}

void notify(const std::function<void()>& callback) {
    if (callback) {
        callback();
    }
}

}  // namespace

PreparedUpdate UpdateInstaller::prepare(const UpdateInstallRequest& request,
                                        const UpdateInstallObserver& observer,
                                        const CancellationToken& token) const {
    token.throwIfCancelled();
    const BundleManifest installed = installedManifest(request);
    verifyArchiveSignature(request.archivePath, installed, request.edSignature,
                           request.announcedLength);
    const ArchiveType type = archiveTypeOf(request.downloadedName, request.enclosureName,
                                           leadingBytes(request.archivePath));
    token.throwIfCancelled();

    auto extraction =
        std::make_unique<TemporaryFolder>(request.workFolder, QStringLiteral("extracted-"));
    notify(observer.onExtractionStarted);
    extractor.extract(request.archivePath, type, extraction->path(), observer.onExtractionProgress,
                      token);
    token.throwIfCancelled();

    const FoundUpdate found = findUpdateBundle(
        extraction->path(), QFileInfo(QDir::cleanPath(request.installedPath)).fileName(), installed,
        token);
    if (found.kind == FoundUpdate::Kind::package) {
        throw UpdateInstallError::packageUpdate();
    }
    const auto manifest = readBundleManifest(found.path);
    if (!manifest) {
        throw UpdateInstallError::invalidUpdate(found.path);
    }
    checkUpdateAcceptable(installed, *manifest);
    return PreparedUpdate{std::move(extraction), found.path, *manifest,
                          QDir::cleanPath(request.installedPath)};
}

void UpdateInstaller::install(PreparedUpdate update, const UpdateInstallObserver& observer,
                              const CancellationToken& token) const {
    token.throwIfCancelled();
    notify(observer.onInstalling);
    replaceBundle(update.installedPath, update.bundlePath, token);
    notify(observer.onInstalled);
}

}  // namespace tarnel
