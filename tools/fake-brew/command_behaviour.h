#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace fakebrew {

// How the state asks one invocation of a command to behave besides its work.
struct CommandBehaviour {
    // When set, the command does no work: it prints the two texts and ends
    // with this status.
    std::optional<int> exitStatus;
    QByteArray standardOutput;
    QByteArray standardError;
    // When set, the command waits until a file exists at this path, after
    // announcing the wait with a file at the path followed by ".waiting".
    QString heldUntil;
    int delayMilliseconds = 0;
    // Megabytes printed on each stream before anything else.
    int outputMegabytes = 0;
    // When set, the command first asks `SUDO_ASKPASS` for this password.
    std::optional<QString> password;

    static CommandBehaviour fromJson(const QJsonObject& object);
    QJsonObject toJson() const;
};

}  // namespace fakebrew
