#pragma once

#include "cli/subcommands/Subcommand.h"

#include <vector>

namespace velloria
{

/// What the whole command line asks for.
struct ParsedCommandLine {
    enum class Request { run, help, version, manPage };

    Request request = Request::run;
    /// Null for a request about the whole program.
    const Subcommand* subcommand = nullptr;
    Arguments arguments;
};

/// Parses the words after the program's name. Options may stand anywhere, also before the subcommand's name;
/// `--` ends them. Nothing, with `error` filled, when they are wrong.
std::optional<ParsedCommandLine> parseCommandLine(const std::vector<QByteArray>& words, QString* error);

} // namespace velloria
