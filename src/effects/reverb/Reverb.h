#pragma once

#include "effects/frame/Filter.h"
#include "effects/reverb/ReverbUnit.h"

namespace velloria
{

/// Puts each track into a room of its own, under the unchanged sound. It starts from silence.
class Reverb : public Filter
{
public:
    enum Parameter : size_t { roomSize, decay, color, wetLevel, ring };

    explicit Reverb(const QString& name);

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    void processingFinished() override { mReverbUnits.clear(); }
    int64_t tailTimeNumFrames() const override;
    bool isTailCut() const override;
    bool letsRing() const override { return parameters().isOn(ring); }
    const PresetFormat* presetFormat() const override;

protected:
    void parameterDidChange(size_t index) override;

private:
    void setUpFactors();
    double secondsUntilSilence() const;
    float floatValue(size_t index) const { return static_cast<float>(parameterValue(index)); }

    std::vector<ReverbUnit> mReverbUnits; ///< one a track
};

} // namespace velloria
