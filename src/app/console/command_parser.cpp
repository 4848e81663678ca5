#include "app/console/command_parser.h"

#include "app/console/standard_output.h"
#include "core/printable_text.h"

#include <algorithm>
#include <cstdio>

namespace tarnel {

namespace {

QString spelledNames(const QCommandLineOption& option) {
    QStringList spelled;
    for (const QString& optionName : option.names()) {
        spelled.append((optionName.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) +
                       optionName);
    }
    QString text = spelled.join(QStringLiteral(", "));
    if (!option.valueName().isEmpty()) {
        text += u' ' + option.valueName();
    }
    return text;
}

}  // namespace

CommandParser::CommandParser(QString name, QString synopsis, QString description,
                             QList<QCommandLineOption> options, QStringList argumentNames,
                             ArgumentScope scope)
    : name(std::move(name)),
      synopsis(std::move(synopsis)),
      description(std::move(description)),
      options(std::move(options)),
      argumentNames(std::move(argumentNames)),
      scope(scope),
      helpOption({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")) {
    parser.addOptions(this->options);
    parser.addOption(helpOption);
    if (scope == ArgumentScope::subcommand) {
        parser.setOptionsAfterPositionalArgumentsMode(
            QCommandLineParser::ParseAsPositionalArguments);
    }
}

std::optional<int> CommandParser::parse(const QStringList& arguments) {
    if (const auto written = singleDashLongOption(arguments)) {
        return fail(QStringLiteral("Unknown option '%1'.").arg(*written));
    }
    if (!parser.parse(arguments)) {
        return fail(parser.errorText());
    }
    if (parser.isSet(helpOption)) {
        return writeStandardOutput(helpText().toUtf8(), name) ? 0 : 1;
    }
    const QStringList given = parser.positionalArguments();
    if (given.size() < argumentNames.size()) {
        return fail(QStringLiteral("Missing %1.").arg(argumentNames.at(given.size())));
    }
    if (scope == ArgumentScope::command && given.size() > argumentNames.size()) {
        return fail(
            QStringLiteral("Unexpected argument '%1'.").arg(given.at(argumentNames.size())));
    }
    return std::nullopt;
}

bool CommandParser::isSet(const QCommandLineOption& option) const {
    return parser.isSet(option);
}

QString CommandParser::value(const QCommandLineOption& option) const {
    return parser.value(option);
}

QStringList CommandParser::arguments() const {
    return parser.positionalArguments();
}

int CommandParser::fail(const QString& problem) const {
    const QString text = printableText(name + QStringLiteral(": ") + problem);
    std::fprintf(stderr, "%s\n\n%s", text.toUtf8().constData(), helpText().toUtf8().constData());
    return 2;
}

QString CommandParser::helpText() const {
    QList<QCommandLineOption> listed = options;
    listed.append(helpOption);
    qsizetype width = 0;
    for (const QCommandLineOption& option : listed) {
        width = std::max(width, spelledNames(option).size());
    }
    QString text = QStringLiteral("Usage: %1\n\n%2\n\nOptions:\n").arg(synopsis, description);
    for (const QCommandLineOption& option : listed) {
        text += QStringLiteral("  ") + spelledNames(option).leftJustified(width) +
                QStringLiteral("  ") + option.description() + u'\n';
    }
    return text;
}

bool CommandParser::takesValue(const QString& optionName) const {
    return std::any_of(options.begin(), options.end(), [&optionName](const auto& option) {
        return !option.valueName().isEmpty() && option.names().contains(optionName);
    });
}

// QCommandLineParser reads "-json" as the four options j, s, o and n, which
// hides what the user meant; the arguments are walked as it walks them to
// catch that spelling first.
std::optional<QString> CommandParser::singleDashLongOption(const QStringList& arguments) const {
    for (qsizetype index = 1; index < arguments.size(); ++index) {
        const QString& argument = arguments.at(index);
        if (argument == QLatin1String("--")) {
            return std::nullopt;
        }
        if (argument.startsWith(QLatin1String("--"))) {
            if (!argument.contains(u'=') && takesValue(argument.mid(2))) {
                ++index;
            }
        } else if (argument.size() > 2 && argument.startsWith(u'-')) {
            return argument;
        } else if (argument.size() == 2 && argument.startsWith(u'-')) {
            if (takesValue(argument.mid(1))) {
                ++index;
            }
        } else if (scope == ArgumentScope::subcommand) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace tarnel
