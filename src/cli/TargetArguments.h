#pragma once

#include "cli/Subcommand.h"
#include "document/SoundDocument.h"

namespace velloria
{

/// The file that a subcommand writes: OUT with --type and --option.
namespace TargetArguments
{
/// Fills path, type and option of the request. False after saying on standard error what is wrong.
bool read(const Arguments& arguments, const QByteArray& out, SaveRequest& request);

/// False, said, when the option makes no sense for this sound.
bool fits(const Arguments& arguments, const SaveRequest& request, const SoundDocument& document);

std::vector<OptionDescription> options();
} // namespace TargetArguments

} // namespace velloria
