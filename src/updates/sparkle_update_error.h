#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <utility>

namespace tarnel {

// An install through an application's own feed that failed for a reason of
// this program's, such as a bundle that cannot be loaded.
class SparkleUpdateError : public std::exception {
public:
    static SparkleUpdateError updateFailed(const QString& text) { return SparkleUpdateError(text); }

    const QString& reason() const { return text; }
    QString description() const { return QStringLiteral("Sparkle update failed: %1").arg(text); }
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    explicit SparkleUpdateError(QString text)
        : text(std::move(text)), utf8Description(description().toUtf8()) {}

    QString text;
    QByteArray utf8Description;
};

}  // namespace tarnel
