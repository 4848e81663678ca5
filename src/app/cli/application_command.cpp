#include "app/cli/application_command.h"

#include "app/cli/command_line.h"

#include <utility>

namespace tarnel {

ApplicationCommand::ApplicationCommand(const QString& command, const QString& optionsSynopsis,
                                       const QString& description,
                                       QList<QCommandLineOption> options)
    : command(command),
      commandParser(commandName(command),
                    QStringLiteral("tarnel-cli [--sandbox DIR] %1 APP%2 [--verbose]")
                        .arg(command, optionsSynopsis),
                    description + QStringLiteral(" APP is a display name, file name, bundle "
                                                 "identifier or path."),
                    options << verboseOption(), {QStringLiteral("APP")}) {}

std::optional<int> ApplicationCommand::parse(const QStringList& arguments) {
    return commandParser.parse(arguments);
}

QCoro::Task<bool> ApplicationCommand::find(SystemLayout layout, ApplicationSource source) {
    commandSession.emplace(command, layout, logSinkFor(commandParser));
    chosen =
        co_await commandSession->chooseApplication(source, commandParser.arguments().constFirst());
    co_return chosen.has_value();
}

QCoro::Task<std::optional<int>> ApplicationCommand::start(QStringList arguments,
                                                          SystemLayout layout,
                                                          ApplicationSource source) {
    if (const auto status = parse(arguments)) {
        co_return status;
    }
    if (!co_await find(std::move(layout), source)) {
        co_return 1;
    }
    co_return std::nullopt;
}

}  // namespace tarnel
