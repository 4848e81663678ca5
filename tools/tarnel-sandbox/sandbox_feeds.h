#pragma once

#include <QString>

namespace tarnel {

class LoopbackHttpsServer;

// The update feeds of the sandbox's applications: a publisher's key, signed
// archives of newer versions in zip and tar form, and the feeds that list
// them, served beside the catalogue. Some feeds are wrong on purpose: one
// whose newest release is older than the installed one, one over plain HTTP
// and one whose archive is signed with another key.
class SandboxFeeds {
public:
    explicit SandboxFeeds(QString root);

    // At creation: the publishers' keys, and the public one in every bundle
    // that publishes here.
    void prepare() const;
    // While serving: archives and feeds for the server's address, and every
    // bundle's feed pointed at it, so that no check leaves the machine.
    void publish(LoopbackHttpsServer& server) const;
    // The version an update check reports for the newest release of the
    // bundle's feed, such as "Hammerspoon.app"; throws for a bundle that
    // publishes nothing here.
    QString offeredVersion(const QString& bundle) const;

private:
    QString path(const QString& relative) const;
    void pointUnpublishedFeedsAt(const QString& base) const;

    QString root;
};

}  // namespace tarnel
