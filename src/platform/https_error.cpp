#include "platform/https_error.h"

#include <utility>

namespace tarnel {

HttpsError::HttpsError(Kind kind, QString description, int status)
    : errorKind(kind),
      httpStatusCode(status),
      text(std::move(description)),
      utf8Description(text.toUtf8()) {}

HttpsError HttpsError::notHttps(const QUrl& url) {
    return HttpsError(Kind::notHttps, QStringLiteral("Only HTTPS URLs are fetched, not %1")
                                          .arg(url.toDisplayString(QUrl::RemoveUserInfo)));
}

HttpsError HttpsError::insecureRedirect(const QUrl& target) {
    return HttpsError(Kind::insecureRedirect,
                      QStringLiteral("A redirect from HTTPS to %1 was refused")
                          .arg(target.toDisplayString(QUrl::RemoveUserInfo)));
}

HttpsError HttpsError::tooManyRedirects() {
    return HttpsError(Kind::tooManyRedirects, QStringLiteral("Too many HTTP redirects"));
}

HttpsError HttpsError::timedOut() {
    return HttpsError(Kind::timedOut, QStringLiteral("The request timed out."));
}

HttpsError HttpsError::tooLarge(qint64 maximumSize) {
    return HttpsError(Kind::tooLarge,
                      QStringLiteral("The response is larger than %1 bytes").arg(maximumSize));
}

HttpsError HttpsError::tls(const QString& platformMessage) {
    return HttpsError(Kind::tls,
                      QStringLiteral("A secure connection could not be made: ") + platformMessage);
}

HttpsError HttpsError::httpStatus(int status) {
    return HttpsError(Kind::httpStatus,
                      QStringLiteral("The server answered with HTTP status %1").arg(status),
                      status);
}

HttpsError HttpsError::badEncoding() {
    return HttpsError(Kind::badEncoding,
                      QStringLiteral("The compressed response could not be decoded"));
}

HttpsError HttpsError::connection(const QString& platformMessage) {
    return HttpsError(Kind::connection, platformMessage);
}

HttpsError HttpsError::fileWrite(const QString& path, const QString& reason) {
    return HttpsError(Kind::fileWrite, QStringLiteral("Cannot write %1: %2").arg(path, reason));
}

}  // namespace tarnel
