#pragma once

#include "cli/subcommands/ArgumentValues.h"
#include "document/SoundDocument.h"

namespace velloria
{

/// Opening and saving with everything that is to be said about it on standard error.
namespace DocumentFiles
{
/// Null when it failed. Says what was found damaged.
std::shared_ptr<SoundDocument> open(const std::filesystem::path& path);

/// A request that says what writing so loses, of a document as it is now, just before the new file takes its
/// place: neither of a save that fails before, nor too late for one that is killed afterwards.
SaveRequest tellingLosses(const SaveRequest& request, const SoundDocument& document);

/// Saves, and says what is lost as tellingLosses() does. False, with the reason said, when it failed.
bool save(SoundDocument& document, const SaveRequest& request);

/// The part of a document that a time range names, all tracks; nothing when no sound lies there.
std::optional<SoundSelection> selection(const SoundDocument& document,
                                        const ArgumentValues::TimeRange& range);
} // namespace DocumentFiles

} // namespace velloria
