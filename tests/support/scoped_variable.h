#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <optional>

// Sets an environment variable, or removes it, for one scope, and puts back
// what was there before.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const QByteArray& value) : ScopedVariable(name) {
        qputenv(name, value);
    }
    explicit ScopedVariable(const char* name)
        : name(name),
          previous(qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt) {
        qunsetenv(name);
    }
    ~ScopedVariable() {
        if (previous) {
            qputenv(name, *previous);
        } else {
            qunsetenv(name);
        }
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* name;
    std::optional<QByteArray> previous;
};
