#pragma once

#include "effects/frame/Filter.h"
#include "platform/codec/SoundStretcher.h"

namespace velloria
{

/// Changes pitch and length of a selection, each without the other. The new length is exact to a frame, and
/// all tracks are stretched together. Without a change the samples stay as they are.
class PitchAndTempo : public Filter
{
public:
    enum Parameter : size_t {
        semitones,
        cents,
        tempoBy,
        tempo,       ///< percent
        length,      ///< seconds
        beatsBefore, ///< a minute
        beatsAfter,
        formants,
    };
    enum TempoBy { byPercent, byLength, byBeats };

    explicit PitchAndTempo(const QString& name);

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    void processingFinished() override;
    int64_t outputNumFrames() const override;
    int64_t heardFrame() const override;
    const PresetFormat* presetFormat() const override;

protected:
    void parameterDidChange(size_t index) override;
    bool isQuick() const override { return false; }
    MaybeError processSelection(ClipWriter& writer, int64_t numAnalysed, int64_t numInPlace,
                                int64_t numRinging) override;

private:
    StretchSettings settings() const;
    void feedStream();

    std::unique_ptr<SoundStretcher> mStream; ///< of a preview
    StretchSettings mHeard;                  ///< what the stream has
    bool mIsChanged = false;
    bool mPassesThrough = false;
    double mNumHeard = 0.0; ///< frames of the selection that have come out of the stream
    SampleBlock mInput;
};

} // namespace velloria
