#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// What the store tool bridge throws when `mas` is missing or says no.
class MASError : public std::exception {
public:
    enum class Case { commandFailed, notInstalled };

    // `text` is the command's combined output.
    static MASError commandFailed(const QString& text);
    static MASError notInstalled();

    Case errorCase() const { return kind; }
    // The command's output for `commandFailed`; empty otherwise.
    const QString& commandOutput() const { return output; }
    QString description() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    MASError(Case kind, QString output);

    Case kind;
    QString output;
    QByteArray utf8Description;
};

}  // namespace tarnel
