#include "cli/subcommands/HelpText.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"
#include "scripting/CommandDictionary.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace velloria
{

namespace
{

QJsonObject parameterJson(const CommandParameter& parameter)
{
    return {{QStringLiteral("key"), parameter.key},
            {QStringLiteral("type"), HelpText::typeName(parameter.type)},
            {QStringLiteral("unit"), parameter.unit},
            {QStringLiteral("min"), QJsonValue::fromVariant(parameter.minimum)},
            {QStringLiteral("max"), QJsonValue::fromVariant(parameter.maximum)},
            {QStringLiteral("default"), QJsonValue::fromVariant(parameter.defaultValue)},
            {QStringLiteral("summary"), parameter.summary}};
}

QByteArray dictionaryJson()
{
    QJsonArray list;
    for (const CommandDescription& command : CommandDictionary::commands()) {
        QJsonArray parameters;
        for (const CommandParameter& parameter : command.parameters)
            parameters.append(parameterJson(parameter));
        list.append(QJsonObject{{QStringLiteral("name"), command.name},
                                {QStringLiteral("summary"), command.summary},
                                {QStringLiteral("parameters"), parameters}});
    }
    return QJsonDocument(list).toJson(QJsonDocument::Indented);
}

ExitStatus listCommands(const Arguments& arguments)
{
    const std::unique_ptr<OutputSink> output = OutputSink::forStandardOutput();
    const MaybeError error =
        output->write(arguments.has("--json") ? dictionaryJson() : HelpText::scriptingCommands().toUtf8());
    if (!error)
        return ExitStatus::done;
    Terminal::sayError(*error);
    return ExitStatus::failed;
}

} // namespace

Subcommand commandsSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "commands";
    subcommand.synopsis = QStringLiteral("[--json]");
    subcommand.summary = QStringLiteral("Lists the scripting commands of run with all their keys.");
    subcommand.description = {QStringLiteral(
        "With --json it is a list of objects with the keys name, summary and parameters (list of key, "
        "type, unit, min, max, default, summary; null where there is none).")};
    subcommand.options = {{"--json", {}, QStringLiteral("As JSON.")}};
    subcommand.run = listCommands;
    return subcommand;
}

} // namespace velloria
