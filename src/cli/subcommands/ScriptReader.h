#pragma once

#include "cli/subcommands/Subcommand.h"
#include "scripting/ScriptText.h"

#include <filesystem>
#include <vector>

namespace velloria
{

/// Gathers the commands of `run` from its arguments and from files.
namespace ScriptReader
{
/// The sound file and the commands in their order. False when a file of commands cannot be read, which has
/// been said.
bool read(const Arguments& arguments, std::filesystem::path& input, std::vector<QString>& commands);

/// One command a line; # at the start of a line or after a blank, outside of quotes, begins a comment.
std::vector<QString> commandsInText(const QByteArray& text);
} // namespace ScriptReader

} // namespace velloria
