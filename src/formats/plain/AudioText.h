#pragma once

#include "formats/file/AudioFile.h"

namespace velloria
{

/// Samples as text: a line a frame, its channels separated by tabs, nine decimals each. Only written, without
/// header, markers, tags or pictures.
class AudioText : public AudioFile
{
public:
    AudioText(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    QString fileFormatUTI() const override;
    /// There is none in the text.
    double writtenSampleRate() const override { return mSampleRate; }

    FileOptions fileOptions() const override;
    double estimatedFileSizeWithTag(int tag) const override;

    bool storesIntegers() const override { return false; }
    /// Appends to the file, whatever the offset: blocks come in order.
    MaybeError writeFloatData(std::span<const float> interleaved, int64_t frameOffset) override;
};

} // namespace velloria
