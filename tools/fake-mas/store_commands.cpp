#include "store_commands.h"

#include "bundle_version.h"

#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <thread>

namespace tarnel::fakemas {

namespace {

// Reads and drops standard input up to its end: with an input that stays open
// and silent, this never returns.
void drainStandardInput() {
    char buffer[4096];
    while (std::fread(buffer, 1, sizeof buffer, stdin) > 0) {
    }
}

// A test releases the command by creating the file; until then it runs on.
void waitForFile(const QString& path) {
    while (!QFileInfo::exists(path)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// Names are padded to the longest, so that the versions stand in one column.
Answer listInstalled(const StoreState& state) {
    qsizetype nameWidth = 0;
    for (const StoreState::App& app : state.installed) {
        nameWidth = std::max(nameWidth, app.name.size());
    }
    Answer answer;
    for (const StoreState::App& app : state.installed) {
        answer.standardOutput += QStringLiteral("%1 %2  (%3)\n")
                                     .arg(app.id, app.name.leftJustified(nameWidth), app.version)
                                     .toUtf8();
    }
    return answer;
}

Answer listOutdated(const StoreState& state) {
    Answer answer;
    for (const StoreState::Update& update : state.updates) {
        const qsizetype index = state.indexOfApp(update.id);
        if (index < 0) {
            continue;
        }
        const StoreState::App& app = state.installed[index];
        answer.standardOutput += QStringLiteral("%1 %2 (%3 -> %4)\n")
                                     .arg(app.id, app.name, app.version, update.version)
                                     .toUtf8();
    }
    return answer;
}

// Without identifiers every pending update is installed.
Answer upgrade(StoreState& state, const QStringList& ids) {
    QList<StoreState::Update> chosen;
    for (const StoreState::Update& update : state.updates) {
        if ((ids.isEmpty() || ids.contains(update.id)) && state.indexOfApp(update.id) >= 0) {
            chosen.append(update);
        }
    }
    for (const QString& id : ids) {
        if (state.indexOfApp(id) < 0) {
            return {{}, QStringLiteral("Error: No installed app with ID %1\n").arg(id).toUtf8(), 1};
        }
    }
    Answer answer;
    if (chosen.isEmpty()) {
        return answer;
    }
    const QString noun =
        chosen.size() == 1 ? QStringLiteral("application") : QStringLiteral("applications");
    QString progress;
    QString text = QStringLiteral("Upgrading %1 outdated %2:\n").arg(chosen.size()).arg(noun);
    for (const StoreState::Update& update : chosen) {
        StoreState::App& app = state.installed[state.indexOfApp(update.id)];
        text += QStringLiteral("%1 (%2) -> (%3)\n").arg(app.name, app.version, update.version);
        progress += QStringLiteral("==> Downloading %1\n==> Installed %1\n").arg(app.name);
        app.version = update.version;
        if (!app.bundlePath.isEmpty() &&
            !writeBundleVersion(app.bundlePath, {update.version, std::nullopt})) {
            throw std::runtime_error(QStringLiteral("cannot write the version into %1")
                                         .arg(app.bundlePath)
                                         .toStdString());
        }
        state.updates.removeIf(
            [&](const StoreState::Update& pending) { return pending.id == update.id; });
    }
    answer.standardOutput = (text + progress).toUtf8();
    answer.changesState = true;
    return answer;
}

}  // namespace

Answer answerCommand(StoreState& state, const QStringList& arguments) {
    const QString command = arguments.value(0);
    const StoreState::Behaviour behaviour = state.behaviourOf(command);
    if (behaviour.readsStandardInput) {
        drainStandardInput();
    }
    if (!behaviour.heldUntil.isEmpty()) {
        waitForFile(behaviour.heldUntil);
    }
    std::this_thread::sleep_for(behaviour.delay);
    if (behaviour.failureStatus) {
        return {behaviour.failureStandardOutput, behaviour.failureStandardError,
                *behaviour.failureStatus};
    }
    if (behaviour.rawOutput) {
        return {*behaviour.rawOutput, {}, 0};
    }
    try {
        if (command == QStringLiteral("list")) {
            return listInstalled(state);
        }
        if (command == QStringLiteral("outdated")) {
            return listOutdated(state);
        }
        if (command == QStringLiteral("upgrade")) {
            return upgrade(state, arguments.mid(1));
        }
    } catch (const std::exception& error) {
        return {{}, QByteArray("Error: ") + error.what() + '\n', 1};
    }
    return {{}, QStringLiteral("Error: Unknown command '%1'\n").arg(command).toUtf8(), 1};
}

}  // namespace tarnel::fakemas
