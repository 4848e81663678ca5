#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tarnel {

// Whether the arguments that are no options all belong to the command, or
// the first of them names a subcommand that reads everything after it.
enum class ArgumentScope { command, subcommand };

// Reads one command's arguments the same way in every tool of ours. `-h` and
// `--help` print the usage on standard output. A value follows its option as
// `--name value` or `--name=value`. A long option written with one dash
// ("-json") is refused whole, never taken as the letters j, s, o and n. The
// arguments that are no options must be exactly the named ones (for a
// subcommand, at least its name). A problem is named on standard error after
// the command's name, the usage below it.
class CommandParser {
public:
    // `name` begins every failure ("tarnel-cli scan"). `synopsis` follows
    // "Usage: " and `description` follows the synopsis in the help, with the
    // options listed after them. `argumentNames` name the arguments that are
    // no options, in their order.
    CommandParser(QString name, QString synopsis, QString description,
                  QList<QCommandLineOption> options, QStringList argumentNames = {},
                  ArgumentScope scope = ArgumentScope::command);

    // Reads `arguments`, whose first is the program's or the command's own
    // name. Gives the status the run ends with once this has said what it
    // has to say: 0 when the usage was asked for, 2 when the arguments are
    // wrong (1 when the usage could not be written); nothing when the command
    // goes on.
    std::optional<int> parse(const QStringList& arguments);

    bool isSet(const QCommandLineOption& option) const;
    QString value(const QCommandLineOption& option) const;
    // The arguments that are no options; for a subcommand, its name and
    // everything after it come last.
    QStringList arguments() const;

    // Names a problem with arguments that parsed, with the usage below it,
    // and gives the exit status 2.
    int fail(const QString& problem) const;

private:
    QString helpText() const;
    bool takesValue(const QString& optionName) const;
    std::optional<QString> singleDashLongOption(const QStringList& arguments) const;

    QString name;
    QString synopsis;
    QString description;
    QList<QCommandLineOption> options;
    QStringList argumentNames;
    ArgumentScope scope;
    QCommandLineOption helpOption;
    QCommandLineParser parser;
};

}  // namespace tarnel
