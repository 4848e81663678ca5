#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <chrono>
#include <optional>

namespace tarnel::fakemas {

// What the fake store knows, read from "state.json" in the state folder. The
// format is described in README.md.
struct StoreState {
    struct App {
        QString id;
        QString name;
        QString version;
        // An application bundle whose Info.plist follows upgrades; may be empty.
        QString bundlePath;
    };

    struct Update {
        QString id;
        QString version;
    };

    // How the state bends one command.
    struct Behaviour {
        // Standard input is read to its end first, as a tool asking a question would.
        bool readsStandardInput = false;
        // The command waits until a file stands at this path, when one is named.
        QString heldUntil;
        std::chrono::milliseconds delay{0};
        std::optional<int> failureStatus;
        QByteArray failureStandardOutput;
        QByteArray failureStandardError;
        // Printed instead of the command's own answer, which then changes nothing.
        std::optional<QByteArray> rawOutput;
    };

    QList<App> installed;
    QList<Update> updates;
    // Kept as read, so that saving after an upgrade leaves the behaviours alone.
    QJsonObject commands;

    // Throw std::runtime_error when the file cannot be read, parsed or written.
    static StoreState load(const QString& folder);
    void save(const QString& folder) const;

    Behaviour behaviourOf(const QString& command) const;
    // The position of the installed application, or -1.
    qsizetype indexOfApp(const QString& id) const;
};

}  // namespace tarnel::fakemas
