#pragma once

#include "cli/subcommands/Subcommand.h"
#include "scripting/CommandDictionary.h"

#include <QString>

namespace velloria
{

/// What --help and `commands` print.
namespace HelpText
{
QString version();
QString ofProgram();
QString ofSubcommand(const Subcommand& subcommand);
QString scriptingCommands();

/// "number", "integer", ...
QString typeName(CommandParameter::Type type);
/// Unit, range and default of a key, in brackets' worth of words: "dB, -200 to 200, default 0"; may be empty.
QString valueSummary(const CommandParameter& parameter);
} // namespace HelpText

} // namespace velloria
