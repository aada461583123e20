#pragma once

#include "document/SoundDocument.h"

namespace velloria
{

/// A sound that an earlier run left in the scratch folder: its files, one a track or one with all of them.
struct LeftOverSound {
    std::vector<std::filesystem::path> files;
    std::filesystem::file_time_type lastWritten;
};

/// What becomes of sound that a run could not save: found and opened by the next one. Main thread.
namespace LeftOverSounds
{
/// Puts together the files of ScratchFolder::leftOvers() that are tracks of one sound: of one rate, as long
/// as each other but for a block, written last in the same moment. What was written last comes first; files
/// without a sample are no sound.
std::vector<LeftOverSound> find(const std::vector<std::filesystem::path>& files);

/// A document that was never saved, with the sound as its one step. Null with `error` filled when a file
/// cannot be read.
std::shared_ptr<SoundDocument> open(const LeftOverSound& sound, MaybeError* error);

/// Writes a document into the scratch folder as it is, for a program that ends without being able to ask.
/// Where that fails, what is being or was recorded stays there as it came.
MaybeError keep(SoundDocument& document);
} // namespace LeftOverSounds

} // namespace velloria
