#pragma once

#include <QString>

#include <stdexcept>

namespace tarnel {

// A process that could not be started at all, with the platform's own words.
// It is deliberately no `BrewError`: callers tell it apart by type.
class ProcessLaunchError : public std::runtime_error {
public:
    ProcessLaunchError(QString program, QString platformMessage);

    const QString& program() const { return executable; }
    const QString& description() const { return message; }

private:
    QString executable;
    QString message;
};

}  // namespace tarnel
