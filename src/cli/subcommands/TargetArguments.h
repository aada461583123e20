#pragma once

#include "cli/subcommands/Subcommand.h"
#include "scripting/SaveArguments.h"

namespace velloria
{

/// The file that a subcommand writes: OUT with --type and --option.
namespace TargetArguments
{
/// Fills path and option of the request and what is known of the type, for a document that lives at `source`.
/// False after saying on standard error what is wrong.
bool read(const Arguments& arguments, const QByteArray& out, const std::filesystem::path& source,
          SaveRequest& request, SaveArguments::TargetType& type);

/// Fills the type of the request. False, said, when the option makes no sense for this sound.
bool complete(const SaveArguments::TargetType& type, const SoundDocument& document, SaveRequest& request);

std::vector<OptionDescription> options();
} // namespace TargetArguments

} // namespace velloria
