#include "cli/subcommands/HelpText.h"

#include <algorithm>

namespace velloria::HelpText
{

namespace
{

constexpr qsizetype kWidth = 80;
constexpr qsizetype kOptionColumn = 26;
constexpr qsizetype kNameColumn = 14;

/// Words of a text in lines that begin at a column, the first of them after what stands there already.
QString wrapped(const QString& start, const QString& text, qsizetype column)
{
    const bool fits = start.size() < column || start.isEmpty() || start.endsWith(u' ');
    QString result = fits ? start.leftJustified(column) : start + u'\n' + QString(column, u' ');
    qsizetype used = column;
    bool isFirstWord = true;
    for (const QString& word : text.split(u' ', Qt::SkipEmptyParts)) {
        if (!isFirstWord && used + 1 + word.size() > kWidth) {
            result += u'\n' + QString(column, u' ');
            used = column;
            isFirstWord = true;
        }
        if (!isFirstWord)
            result += u' ';
        result += word;
        used += word.size() + (isFirstWord ? 0 : 1);
        isFirstWord = false;
    }
    return result + u'\n';
}

QString optionRow(const QString& name, const QString& valueName, const QString& summary)
{
    const QString label = valueName.isEmpty() ? name : name + u' ' + valueName;
    return wrapped(QStringLiteral("  ") + label, summary, kOptionColumn);
}

QString numberText(const QVariant& number)
{
    return QString::number(number.toDouble(), 'g', 12);
}

QString keyRow(const CommandParameter& parameter)
{
    const QString values = valueSummary(parameter);
    const QString summary =
        values.isEmpty() ? parameter.summary : QStringLiteral("%1 (%2)").arg(parameter.summary, values);
    return wrapped(QStringLiteral("    %1=").arg(parameter.key), summary, kOptionColumn);
}

} // namespace

QString version()
{
    return QStringLiteral("velloria-cli " VELLORIA_VERSION);
}

QString ofProgram()
{
    QString text = QStringLiteral("velloria-cli edits, converts and describes sound files.\n\n");
    for (const Subcommand& subcommand : subcommands())
        text += QStringLiteral("  velloria-cli %1 %2\n")
                    .arg(QString::fromLatin1(subcommand.name), subcommand.synopsis);
    text += u'\n';
    for (const Subcommand& subcommand : subcommands())
        text += wrapped(QStringLiteral("  ") + QString::fromLatin1(subcommand.name), subcommand.summary,
                        kNameColumn);
    text += u'\n';
    text += optionRow(QStringLiteral("-h, --help"), {},
                      QStringLiteral("This text; after a command, that command's."));
    text += optionRow(QStringLiteral("--version"), {}, QStringLiteral("The program's version."));
    text += optionRow(QStringLiteral("--"), {}, QStringLiteral("Ends the options: what follows are names."));
    text +=
        QStringLiteral("\nOptions may stand anywhere. Exit status: 0 done; 1 the work failed, one line on\n"
                       "standard error says why; 2 the arguments are wrong.\n");
    return text;
}

QString ofSubcommand(const Subcommand& subcommand)
{
    QString text = wrapped(QStringLiteral("velloria-cli %1 ").arg(QString::fromLatin1(subcommand.name)),
                           subcommand.synopsis, 14 + subcommand.name.size());
    text += u'\n' + wrapped({}, subcommand.summary, 0);
    for (const QString& paragraph : subcommand.description)
        text += u'\n' + wrapped({}, paragraph, 0);
    if (!subcommand.options.empty())
        text += u'\n';
    for (const OptionDescription& option : subcommand.options)
        text += optionRow(QString::fromLatin1(option.name), option.valueName, option.summary);
    if (subcommand.name == "run")
        text += QStringLiteral("\nvelloria-cli commands lists the scripting commands.\n");
    return text;
}

QString typeName(CommandParameter::Type type)
{
    switch (type) {
    case CommandParameter::Type::number:
        return QStringLiteral("number");
    case CommandParameter::Type::integer:
        return QStringLiteral("integer");
    case CommandParameter::Type::boolean:
        return QStringLiteral("boolean");
    case CommandParameter::Type::numberList:
        return QStringLiteral("list");
    case CommandParameter::Type::path:
        return QStringLiteral("path");
    case CommandParameter::Type::string:
        break;
    }
    return QStringLiteral("string");
}

QString valueSummary(const CommandParameter& parameter)
{
    QStringList parts;
    const bool isNumber = parameter.type == CommandParameter::Type::number;
    if (!isNumber && parameter.type != CommandParameter::Type::string)
        parts += typeName(parameter.type);
    if (!parameter.unit.isEmpty())
        parts += parameter.unit;
    if (parameter.minimum.isValid() && parameter.maximum.isValid())
        parts += QStringLiteral("%1 to %2").arg(numberText(parameter.minimum), numberText(parameter.maximum));
    else if (parameter.minimum.isValid())
        parts += QStringLiteral("from %1").arg(numberText(parameter.minimum));
    if (parameter.defaultValue.isValid())
        parts += QStringLiteral("default %1").arg(numberText(parameter.defaultValue));
    return parts.join(QStringLiteral(", "));
}

QString scriptingCommands()
{
    QString text;
    for (const CommandDescription& command : CommandDictionary::commands()) {
        text += command.name + u'\n' + wrapped({}, command.summary, 4);
        for (const CommandParameter& parameter : command.parameters)
            text += keyRow(parameter);
    }
    return text;
}

} // namespace velloria::HelpText
