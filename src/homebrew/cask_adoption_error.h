#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// Why an adoption could not go ahead, with the words shown to the user.
class CaskAdoptionError : public std::exception {
public:
    enum class Kind { versionMismatch, adminPermissionRequired };

    static CaskAdoptionError versionMismatch(const QString& installedVersion,
                                             const QString& caskVersion, const QString& caskName);
    static CaskAdoptionError adminPermissionRequired();

    Kind kind() const { return errorKind; }
    const QString& installedVersion() const { return installed; }
    const QString& caskVersion() const { return offered; }
    const QString& caskName() const { return token; }

    QString description() const;
    QString recoverySuggestion() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    CaskAdoptionError(Kind kind, QString installedVersion, QString caskVersion, QString caskName);

    Kind errorKind;
    QString installed;
    QString offered;
    QString token;
    QByteArray utf8Description;
};

}  // namespace tarnel
