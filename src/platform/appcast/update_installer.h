#pragma once

#include "platform/appcast/archive_extractor.h"
#include "platform/appcast/bundle_manifest.h"
#include "platform/appcast/temporary_folder.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace tarnel {

class CancellationToken;

// A downloaded update and what the feed said of it.
struct UpdateInstallRequest {
    // The downloaded archive, in a private folder of ours.
    QString archivePath;
    // The name the download was stored under (the server's suggestion) and
    // the last path component of the enclosure URL; they decide the type.
    QString downloadedName;
    QString enclosureName;
    // The item's `sparkle:edSignature` and enclosure length (0 when unknown).
    std::optional<QString> edSignature;
    quint64 announcedLength = 0;
    // The installed bundle, and the identifier the update was started for.
    QString installedPath;
    QString bundleIdentifier;
    // A private folder of ours for the extraction, usually the archive's.
    QString workFolder;
};

// The stages as they happen, for the driver's callbacks. They are called on
// the thread that runs the installer.
struct UpdateInstallObserver {
    std::function<void()> onExtractionStarted;
    std::function<void(double)> onExtractionProgress;
    std::function<void()> onInstalling;
    std::function<void()> onInstalled;
};

// An update extracted, found and accepted, waiting to be installed. Dropping
// it removes the extraction.
struct PreparedUpdate {
    std::unique_ptr<TemporaryFolder> extraction;
    // The new bundle, inside the extraction, and its Info.plist facts.
    QString bundlePath;
    BundleManifest manifest;
    QString installedPath;
};

// Installs a downloaded update of another application over its installed
// bundle, in two blocking steps for the worker pool, so that the driver can
// ask whether to install between them. Every failure throws
// UpdateInstallError, every cancel CancellationError; after either the
// installed bundle is as it was, and nothing of ours is left behind.
class UpdateInstaller {
public:
    UpdateInstaller() = default;
    explicit UpdateInstaller(ArchiveExtractor::Limits limits) : extractor(limits) {}

    // Verifies the archive's signature with the installed bundle's key,
    // extracts it, finds the new bundle and accepts it.
    PreparedUpdate prepare(const UpdateInstallRequest& request,
                           const UpdateInstallObserver& observer,
                           const CancellationToken& token) const;
    // Puts the prepared bundle in place of the installed one.
    void install(PreparedUpdate update, const UpdateInstallObserver& observer,
                 const CancellationToken& token) const;

private:
    ArchiveExtractor extractor;
};

}  // namespace tarnel
