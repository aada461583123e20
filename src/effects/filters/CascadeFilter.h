#pragma once

#include "effects/filters/AnalogSection.h"
#include "effects/filters/BiquadCascade.h"
#include "effects/filters/FrequencyResponse.h"
#include "effects/frame/Filter.h"

#include <memory>
#include <optional>

namespace velloria
{

/// Base of equalisers and filters whose response is that of analogue sections. A selection sounds as if all
/// of the sound before it had gone through the filter, too. A parameter that changes meanwhile is followed by
/// a short crossfade to a second filter, which has already heard what came last; so nothing clicks. Without a
/// section that does anything the samples stay what they are, bit for bit.
class CascadeFilter : public Filter, public FrequencyResponse
{
public:
    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    void processingFinished() override;
    /// What is heard of the sound before the selection.
    int64_t latencyNumFrames() const override;

    /// Bands above what is matched are off.
    std::optional<EffectRemark> remark() const override;

    double responseAt(double frequency) const override;
    double highestFrequency() const override;

protected:
    CascadeFilter(const QString& name, const std::vector<ParameterDescription>& parameters);

    /// The filter as the parameters have it, without the sections that change nothing.
    virtual std::vector<AnalogSection> sections() const = 0;
    /// Whether the sample rate has room for a corner or centre there; without a source it has.
    bool isWithinReach(double frequency) const;
    void parameterDidChange(size_t index) override;

private:
    std::vector<AnalogSection> sectionsWithinReach() const;
    BiquadFilter design() const;
    void beginFade();
    void processRun(BiquadCascade& cascade, SampleBlock& block, size_t start, size_t count) const;
    void processFade(SampleBlock& block, size_t start, size_t count);
    void keepHistory(const SampleBlock& block);

    std::optional<BiquadCascade> mCascade; ///< while it processes
    std::optional<BiquadCascade> mNext;    ///< while it fades to it
    int64_t mNumFaded = 0;                 ///< frames
    bool mIsChanged = false;
    SampleBlock mHistory; ///< the last input
    SampleBlock mFading;  ///< what the next one makes of a block
};

} // namespace velloria
