#pragma once

#include <QString>

namespace tarnel {

// A throwaway certificate authority and a server certificate for 127.0.0.1
// and localhost signed by it, as PEM files. Clients trust
// `authorityCertificate`; the server presents the other two.
struct LoopbackCertificates {
    QString authorityCertificate;
    QString authorityKey;
    QString serverCertificate;
    QString serverKey;

    // Makes fresh keys and certificates in `folder`. Throws std::runtime_error.
    static LoopbackCertificates create(const QString& folder);
    // The files that `create` made in `folder` earlier.
    static LoopbackCertificates inFolder(const QString& folder);
};

}  // namespace tarnel
