#include "cli/Command.h"

#include <algorithm>
#include <cstdio>

namespace tarlox::cli {

namespace {

QString optionNames(const QCommandLineOption& option)
{
    QStringList names;
    for (const QString& name : option.names())
        names << (name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name;
    QString text = names.join(QStringLiteral(", "));
    if (!option.valueName().isEmpty())
        text += QLatin1Char(' ') + option.valueName();
    return text;
}

}  // namespace

QString Command::help() const
{
    QString text = QStringLiteral("usage: tarlox-cli ") + name() + QStringLiteral(" [options]");
    if (!arguments().isEmpty())
        text += QLatin1Char(' ') + arguments();
    return text + QLatin1Char('\n') + summary() + QStringLiteral("\n\noptions:\n") + OptionsHelp(options() << HelpOption());
}

std::optional<int> Command::parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    if (optionsOnlyBeforeArguments())
        parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addOptions(options());
    const QCommandLineOption help = HelpOption();
    parser.addOption(help);
    // The parser takes the first item for the program's name.
    const bool parsed = parser.parse(QStringList{QStringLiteral("tarlox-cli")} + arguments);
    if (parser.isSet(help)) {
        printLine(this->help());
        return Success;
    }
    if (!parsed) {
        QString error = parser.errorText().trimmed();
        if (error.endsWith(QLatin1Char('.')))
            error.chop(1);
        return badUsage(name() + QStringLiteral(": ") + error + QStringLiteral("; try 'tarlox-cli help ") + name() + QLatin1Char('\''));
    }
    if (const QString problem = read(parser); !problem.isEmpty())
        return badUsage(name() + QStringLiteral(": ") + problem);
    return std::nullopt;
}

QList<QCommandLineOption> IndexFieldOptions()
{
    return {
        {QStringLiteral("heat"), QStringLiteral("heat numbers, separated by blanks (required)"), QStringLiteral("H")},
        {QStringLiteral("part"), QStringLiteral("part numbers, separated by blanks (required)"), QStringLiteral("P")},
        {QStringLiteral("po"), QStringLiteral("purchase order"), QStringLiteral("X")},
        {QStringLiteral("vendor"), QStringLiteral("vendor"), QStringLiteral("V")},
        {QStringLiteral("mfg"), QStringLiteral("manufacturer"), QStringLiteral("M")},
    };
}

QCommandLineOption HelpOption()
{
    return {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("this help")};
}

QString OptionsHelp(const QList<QCommandLineOption>& options)
{
    qsizetype width = 0;
    for (const QCommandLineOption& option : options)
        width = std::max(width, optionNames(option).size());
    QStringList lines;
    for (const QCommandLineOption& option : options)
        lines << QStringLiteral("  ") + optionNames(option).leftJustified(width + 2) + option.description();
    return lines.join(QLatin1Char('\n'));
}

void printLine(const QString& text)
{
    std::fputs(qUtf8Printable(text), stdout);
    std::fputc('\n', stdout);
}

void printError(const QString& message) { std::fprintf(stderr, "tarlox-cli: %s\n", qUtf8Printable(message)); }

int fail(const QString& message)
{
    printError(message);
    return Failure;
}

int badUsage(const QString& message)
{
    printError(message);
    return BadUsage;
}

}  // namespace tarlox::cli
