#pragma once

#include <QByteArray>

namespace fakebrew {

// What a command prints and the status it ends with.
struct CommandOutcome {
    int exitStatus = 0;
    QByteArray standardOutput;
    QByteArray standardError;

    static CommandOutcome success(QByteArray output = {}) { return {0, std::move(output), {}}; }
    static CommandOutcome failure(QByteArray error, QByteArray output = {}) {
        return {1, std::move(output), std::move(error)};
    }
};

}  // namespace fakebrew
