#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// Bytes that are not JSON at all: truncated, not UTF-8, nested too deeply.
// Kept apart from `CaskError`, which is about well-formed JSON of the wrong
// shape, so that a caller can tell a broken download from an unexpected one.
class JSONSyntaxError : public std::exception {
public:
    // `reason` says what the reader found wrong, in its own words.
    explicit JSONSyntaxError(const QString& reason);

    const QString& reason() const { return readerReason; }
    QString description() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    QString readerReason;
    QByteArray utf8Description;
};

}  // namespace tarnel
