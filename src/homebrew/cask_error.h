#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// What the cask catalogue throws. Only `invalidAPIResponse` is raised today;
// `caskNotFound` stays part of the type.
class CaskError : public std::exception {
public:
    enum class Case { caskNotFound, invalidAPIResponse };

    static CaskError caskNotFound(const QString& name);
    static CaskError invalidAPIResponse();

    Case errorCase() const { return kind; }
    // The token that was looked for, for `caskNotFound`; empty otherwise.
    const QString& caskName() const { return name; }
    QString description() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    CaskError(Case kind, QString name);

    Case kind;
    QString name;
    QByteArray utf8Description;
};

}  // namespace tarnel
