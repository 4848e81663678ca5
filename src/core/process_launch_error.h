#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// A tool that passed the executable test but could not be started, kept apart
// from the tool's own failures so that callers see the system's reason.
class ProcessLaunchError : public std::exception {
public:
    ProcessLaunchError(QString program, QString reason);

    const QString& program() const { return programPath; }
    const QString& reason() const { return launchReason; }
    QString description() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    QString programPath;
    QString launchReason;
    QByteArray utf8Description;
};

}  // namespace tarnel
