#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <exception>

namespace tarnel {

// Every way an HTTPS request of the program can fail, but cancellation, which
// ends in `CancellationError` as every other await does. Callers tell the
// cases apart by `kind()`, never by text.
class HttpsError : public std::exception {
public:
    enum class Kind {
        // The URL is no valid HTTPS URL; nothing was sent.
        notHttps,
        // A redirect led to a URL that is not HTTPS; it was not followed.
        insecureRedirect,
        tooManyRedirects,
        // Nothing arrived for the idle time-out.
        timedOut,
        // The body, once decoded, is larger than the request allows.
        tooLarge,
        // No trusted secure connection could be made.
        tls,
        // The final answer's status is not in the 2xx range.
        httpStatus,
        // A gzip body that does not decode.
        badEncoding,
        // No answer at all: refused, unreachable, reset.
        connection,
        // The download's file could not be written.
        fileWrite,
    };

    static HttpsError notHttps(const QUrl& url);
    static HttpsError insecureRedirect(const QUrl& target);
    static HttpsError tooManyRedirects();
    static HttpsError timedOut();
    static HttpsError tooLarge(qint64 maximumSize);
    static HttpsError tls(const QString& platformMessage);
    static HttpsError httpStatus(int status);
    static HttpsError badEncoding();
    static HttpsError connection(const QString& platformMessage);
    static HttpsError fileWrite(const QString& path, const QString& reason);

    Kind kind() const { return errorKind; }
    // The status of `httpStatus`, else 0.
    int status() const { return httpStatusCode; }

    QString description() const { return text; }
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    HttpsError(Kind kind, QString description, int status = 0);

    Kind errorKind;
    int httpStatusCode;
    QString text;
    QByteArray utf8Description;
};

}  // namespace tarnel
