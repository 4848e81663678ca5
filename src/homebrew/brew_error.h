#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>

namespace tarnel {

// Every failure of running `brew` or reaching the catalogue that the program
// itself recognises. Callers tell the cases apart by `kind()`, never by text.
class BrewError : public std::exception {
public:
    enum class Kind {
        commandFailed,
        homebrewNotFound,
        invalidAPIURL,
        apiRequestFailed,
        adminPermissionRequired,
    };

    // `output` is the run's trimmed standard output, `standardError` its
    // trimmed standard error, when there is one to tell.
    static BrewError commandFailed(const QString& output, std::optional<QString> standardError);
    static BrewError homebrewNotFound() { return BrewError(Kind::homebrewNotFound); }
    static BrewError invalidAPIURL() { return BrewError(Kind::invalidAPIURL); }
    static BrewError apiRequestFailed() { return BrewError(Kind::apiRequestFailed); }
    static BrewError adminPermissionRequired() { return BrewError(Kind::adminPermissionRequired); }

    Kind kind() const { return errorKind; }
    const QString& output() const { return commandOutput; }
    const std::optional<QString>& standardError() const { return commandError; }

    QString description() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    explicit BrewError(Kind kind, QString output = {}, std::optional<QString> standardError = {});

    Kind errorKind;
    QString commandOutput;
    std::optional<QString> commandError;
    QByteArray utf8Description;
};

}  // namespace tarnel
