#pragma once

#include "document/SoundDocument.h"

#include <functional>

namespace velloria
{

/// A sound that an earlier run left in the scratch folder: its files, one a track or one with all of them.
struct LeftOverSound {
    std::vector<std::filesystem::path> files;
    double sampleRate = 0.0;
    /// Of the longest track.
    int64_t numFrames = 0;
    int32_t numTracks = 0;
    std::filesystem::file_time_type lastWritten;
    /// What it is; nothing when its note is missing.
    std::optional<ScratchLabel> label;

    double totalTime() const { return static_cast<double>(numFrames) / sampleRate; }
    /// When it was begun, as far as that is known.
    QDateTime made() const;
    /// The same as "12:04", with the day unless that is today. Without slashes, as it may become a file's
    /// name.
    QString madeText() const;
    /// "Take of 12:04, interview.wav"
    QString title() const;
    /// Something that exists nowhere else and that a person made, or may have: a take, a document, or what
    /// nothing is known of. Otherwise it is what the program computed on the way.
    bool isPersons() const;
};

/// What becomes of sound that a run could not save: found and opened by the next one. Main thread.
namespace LeftOverSounds
{
/// Puts together the files of ScratchFolder::leftOvers() whose notes say that they are tracks of one sound; a
/// file without a note is a sound of its own. The longest comes first; files without a sample are no sound.
/// Nothing when `isStopped` says so, which is asked before each file. Any thread.
std::vector<LeftOverSound> find(
    const std::vector<std::filesystem::path>& files,
    const std::function<bool()>& isStopped = [] { return false; });

/// A document that was never saved, with the sound as it lies there. Null with `error` filled when a file
/// cannot be read.
std::shared_ptr<SoundDocument> read(const LeftOverSound& sound, MaybeError* error);

/// The same for a person to work on: until it goes away no other program offers or removes the files. They
/// stay unless the document is saved or discardLeftOvers() is called.
std::shared_ptr<SoundDocument> open(const LeftOverSound& sound, MaybeError* error);

/// What a small picture of the sound shows: the least and the largest sample of each column. Reads little of
/// the files; empty where they cannot be read. Any thread.
using Outline = std::vector<std::pair<float, float>>;
Outline outline(const LeftOverSound& sound, int numColumns);

/// Removes the files. After an error those that are left can still be opened.
MaybeError discard(const LeftOverSound& sound);

/// Lets a document's sound stay in the scratch folder, for a program that ends without being able to ask:
/// writes it as it is, unless it lies there already. Where that fails, what is being or was recorded stays
/// there as it came.
MaybeError keep(SoundDocument& document);
} // namespace LeftOverSounds

} // namespace velloria
