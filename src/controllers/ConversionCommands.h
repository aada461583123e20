#pragma once

#include "controllers/SelectionModel.h"

#include <cstdint>
#include <optional>

namespace velloria
{

/// The commands that change tracks and format of the whole document. Each is one undo step named
/// `actionName` (the menu item's title). An error leaves the document as it was; what was done until the
/// person cancelled stays. Main thread.
class ConversionCommands
{
public:
    ConversionCommands(SoundDocument& document, SelectionModel& selection, CommandHost& host)
        : mDocument(document)
        , mSelection(selection)
        , mHost(host)
    {
    }

    MaybeError mixdown(int numChannels, const QString& actionName);
    /// Without a duration the sound lasts as long as before.
    MaybeError resample(double sampleRate, std::optional<double> totalTime, const QString& actionName);
    /// A result that would take more bytes of scratch files is resampled as it is read.
    void setMostScratchBytes(int64_t numBytes) { mMostScratchBytes = numBytes; }
    /// Rate and bits as they stand in the file: another rate plays the same samples faster or slower.
    MaybeError setProperties(double sampleRate, int64_t sampleSize, const QString& actionName);
    void addTrack(const QString& actionName);
    /// All but one, when all are selected.
    void removeSelectedTracks(const QString& actionName);

private:
    SoundDocument& mDocument;
    SelectionModel& mSelection;
    CommandHost& mHost;
    int64_t mMostScratchBytes = INT64_MAX;
};

} // namespace velloria
