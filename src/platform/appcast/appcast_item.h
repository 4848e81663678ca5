#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

namespace tarnel {

// The archive of an item: only http and https addresses are read.
struct AppcastEnclosure {
    QUrl url;
    // Announced size in bytes; 0 when missing or not positive.
    qint64 contentLength = 0;
    QString type;
    std::optional<QString> edSignature;
    std::optional<QString> dsaSignature;

    bool operator==(const AppcastEnclosure&) const = default;
};

// Marks an item informational for some hosts; both lists empty means
// for every host.
struct InformationalUpdateRule {
    QStringList versions;
    QStringList belowVersions;

    bool operator==(const InformationalUpdateRule&) const = default;
};

// One `<item>` of an update feed, as far as choosing, checking and installing
// an update need it. Texts are trimmed; an empty version limit means none.
struct AppcastItem {
    enum class InstallationType { application, package, interactivePackage };
    enum class DescriptionFormat { html, plainText, markdown };

    QString title;
    // Absent when the feed gives none or one that does not read as a date.
    std::optional<QDateTime> date;
    // The "more information" page.
    std::optional<QUrl> infoURL;
    std::optional<QString> itemDescription;
    DescriptionFormat descriptionFormat = DescriptionFormat::html;
    std::optional<QUrl> releaseNotesURL;
    std::optional<QUrl> fullReleaseNotesURL;
    // Compared with the host's `CFBundleVersion`.
    QString versionString;
    QString displayVersionString;
    // Absent for an item that only points to a web page.
    std::optional<AppcastEnclosure> enclosure;
    InstallationType installationType = InstallationType::application;
    // The target system; absent or "macos" means ours.
    std::optional<QString> osString;
    // Set when the main enclosure is a delta, which is never offered.
    std::optional<QString> deltaFrom;
    std::optional<QString> channel;
    QString minimumSystemVersion;
    QString maximumSystemVersion;
    QString minimumAutoupdateVersion;
    QString minimumUpdateVersion;
    QStringList hardwareRequirements;
    bool isMarkedCritical = false;
    // When set, the item is critical only for hosts below this version.
    QString criticalBelowVersion;
    std::optional<qint64> phasedRolloutInterval;
    std::optional<InformationalUpdateRule> informationalUpdate;

    bool operator==(const AppcastItem&) const = default;
};

}  // namespace tarnel
