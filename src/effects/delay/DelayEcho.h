#pragma once

#include "effects/delay/CircularBuffer.h"
#include "effects/frame/Filter.h"

namespace velloria
{

/// An echo of each track, repeated when the echo is fed back. It starts from silence.
class DelayEcho : public Filter
{
public:
    enum Parameter : size_t { dryLevel, wetLevel, delay, feedback, ring };

    explicit DelayEcho(const QString& name);

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    int64_t tailTimeNumFrames() const override;
    bool isTailCut() const override;
    bool letsRing() const override { return parameters().isOn(ring); }
    void processingFinished() override { mBuffers.clear(); }
    const PresetFormat* presetFormat() const override;

protected:
    void parameterDidChange(size_t index) override;

private:
    void setUpFactors();
    int32_t numFramesOfDelay() const;
    double numFramesUntilSilence() const;
    void processTrack(std::span<float> samples, CircularBuffer& buffer) const;

    double mDryFactor = 1.0;
    double mWetFactor = 1.0;
    std::vector<CircularBuffer> mBuffers; ///< one a track
};

} // namespace velloria
