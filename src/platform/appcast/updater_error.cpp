#include "platform/appcast/updater_error.h"

namespace tarnel {

namespace {

using Reason = NoUpdateFound::Reason;

QString noUpdateDescription(Reason reason) {
    switch (reason) {
        case Reason::unknown:
        case Reason::onLatestVersion:
        case Reason::onNewerThanLatestVersion:
            return QStringLiteral("You're up to date!");
        case Reason::systemIsTooOld:
            return QStringLiteral("Your macOS version is too old");
        case Reason::systemIsTooNew:
            return QStringLiteral("Your macOS version is too new");
        case Reason::hardwareDoesNotSupportARM64:
            return QStringLiteral("Your Mac does not support this update");
    }
    Q_UNREACHABLE();
}

std::optional<QString> noUpdateSuggestion(const NoUpdateFound& report, const QString& hostName,
                                          const QString& hostDisplayVersion) {
    const QString latest = report.latestItem ? report.latestItem->displayVersionString : QString();
    switch (report.reason) {
        case Reason::unknown:
            return std::nullopt;
        case Reason::onLatestVersion:
            return QStringLiteral("%1 %2 is the latest version.").arg(hostName, hostDisplayVersion);
        case Reason::onNewerThanLatestVersion:
            return QStringLiteral("%1 %2 is newer than the latest version available, %3.")
                .arg(hostName, hostDisplayVersion, latest);
        case Reason::systemIsTooOld:
            return QStringLiteral("%1 %2 needs a newer version of macOS.").arg(hostName, latest);
        case Reason::systemIsTooNew:
            return QStringLiteral("%1 %2 does not run on this version of macOS.")
                .arg(hostName, latest);
        case Reason::hardwareDoesNotSupportARM64:
            return QStringLiteral("%1 %2 needs a Mac with Apple silicon.").arg(hostName, latest);
    }
    Q_UNREACHABLE();
}

}  // namespace

UpdaterError::UpdaterError(Code code, QString description, std::optional<QString> underlyingError)
    : errorCode(code),
      errorDescription(std::move(description)),
      underlying(std::move(underlyingError)) {
    utf8Text = (underlying ? QStringLiteral("%1 (%2)").arg(errorDescription, *underlying)
                           : errorDescription)
                   .toUtf8();
}

UpdaterError UpdaterError::appcastParse(const QString& reason) {
    return UpdaterError(Code::appcastParse,
                        QStringLiteral("An error occurred while reading the update feed"), reason);
}

UpdaterError UpdaterError::noUpdateFound(NoUpdateFound report, const QString& hostName,
                                         const QString& hostDisplayVersion) {
    UpdaterError error(Code::noUpdate, noUpdateDescription(report.reason));
    error.suggestion = noUpdateSuggestion(report, hostName, hostDisplayVersion);
    error.report = std::move(report);
    return error;
}

}  // namespace tarnel
