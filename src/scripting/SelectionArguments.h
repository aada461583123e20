#pragma once

#include "document/SoundDocument.h"
#include "scripting/CommandDictionary.h"

namespace velloria
{

/// The keys by which commands name a range of a document: Start=, End= or StartFrame=, EndFrame=, and
/// FirstTrack=, NumTracks=.
namespace SelectionArguments
{
std::vector<CommandParameter> parameters();

/// What is wrong with the keys together, or nothing.
QString check(const QVariantMap& arguments);

/// The range, clamped to the document in time, the start not after the end. Nothing, with `error` filled, for
/// a track that does not exist.
std::optional<SoundSelection> selection(const SoundDocument& document, const QVariantMap& arguments,
                                        MaybeError* error);
} // namespace SelectionArguments

} // namespace velloria
