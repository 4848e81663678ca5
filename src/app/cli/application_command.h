#pragma once

#include "app/cli/command_session.h"
#include "app/console/command_parser.h"
#include "core/records/application.h"
#include "core/system_layout.h"

#include <QCommandLineOption>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

#include <qcoro/qcorotask.h>

namespace tarnel {

// The start that every command about one application shares: its arguments
// (APP and `--verbose` besides the command's own options), the session, and
// the application that APP names among those found.
class ApplicationCommand {
public:
    // `optionsSynopsis` shows the command's own options after APP, such as
    // " [--cask TOKEN]"; `description` says what the command does.
    ApplicationCommand(const QString& command, const QString& optionsSynopsis,
                       const QString& description, QList<QCommandLineOption> options = {});

    // Reads the arguments; gives the exit status when the run ends here,
    // after the usage or on wrong arguments.
    std::optional<int> parse(const QStringList& arguments);
    // Builds the session and finds the application; false when the run ends
    // here, having said why.
    QCoro::Task<bool> find(SystemLayout layout, ApplicationSource source);

    // Both, for a command with nothing to check between them.
    QCoro::Task<std::optional<int>> start(QStringList arguments, SystemLayout layout,
                                          ApplicationSource source);

    const CommandParser& parser() const { return commandParser; }
    CommandSession& session() { return *commandSession; }
    const Application& application() const { return chosen->application; }
    // Every application found, and the updates when they were searched for.
    const DiscoveryOutcome& found() const { return chosen->found; }

private:
    QString command;
    CommandParser commandParser;
    std::optional<CommandSession> commandSession;
    std::optional<ChosenApplication> chosen;
};

}  // namespace tarnel
