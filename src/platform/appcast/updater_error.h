#pragma once

#include "platform/appcast/no_update_found.h"

#include <QByteArray>
#include <QLatin1String>
#include <QString>

#include <exception>
#include <optional>

namespace tarnel {

// A failure of the update engine, in the framework's error domain and with
// its codes, so that a driver written for the framework reads it unchanged.
// Callers tell cases apart by `code()`, never by text.
class UpdaterError : public std::exception {
public:
    static constexpr QLatin1String domain{"SUSparkleErrorDomain"};

    enum class Code {
        noPublicDSAFound = 1,
        insufficientSigning = 2,
        insecureFeedURL = 3,
        invalidFeedURL = 4,
        invalidUpdater = 5,
        invalidHostBundleIdentifier = 6,
        invalidHostVersion = 7,
        appcastParse = 1000,
        noUpdate = 1001,
        appcast = 1002,
        runningFromDiskImage = 1003,
        resumeAppcast = 1004,
        runningTranslocated = 1005,
        webKitTermination = 1006,
        releaseNotes = 1007,
        temporaryDirectory = 2000,
        download = 2001,
        unarchiving = 3000,
        signature = 3001,
        validation = 3002,
        fileCopyFailure = 4000,
        authenticationFailure = 4001,
        missingUpdate = 4002,
        missingInstallerTool = 4003,
        relaunch = 4004,
        installation = 4005,
        downgrade = 4006,
        installationCanceled = 4007,
        installationAuthorizeLater = 4008,
        notValidUpdate = 4009,
        agentInvalidation = 4010,
        installationWriteNoPermission = 4012,
        incorrectAPIUsage = 5000,
    };

    // `underlyingError` tells what went wrong beneath, in its own words.
    UpdaterError(Code code, QString description, std::optional<QString> underlyingError = {});

    // A feed that is not well-formed, breaks a limit, or has an item that
    // cannot be built; `reason` says which, and where.
    static UpdaterError appcastParse(const QString& reason);

    // The report of a check that found nothing, worded for the host.
    static UpdaterError noUpdateFound(NoUpdateFound report, const QString& hostName,
                                      const QString& hostDisplayVersion);

    Code code() const { return errorCode; }
    const QString& description() const { return errorDescription; }
    const std::optional<QString>& recoverySuggestion() const { return suggestion; }
    const std::optional<QString>& underlyingError() const { return underlying; }
    // Present on `noUpdate` errors only.
    const std::optional<NoUpdateFound>& noUpdateFoundReport() const { return report; }

    const char* what() const noexcept override { return utf8Text.constData(); }

private:
    Code errorCode;
    QString errorDescription;
    std::optional<QString> underlying;
    std::optional<QString> suggestion;
    std::optional<NoUpdateFound> report;
    QByteArray utf8Text;
};

}  // namespace tarnel
