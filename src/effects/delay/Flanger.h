#pragma once

#include "effects/delay/CircularInterpolatedBuffer.h"
#include "effects/frame/Filter.h"

namespace velloria
{

/// Mixes the sound with a copy whose delay sweeps to and fro. It starts from silence.
class Flanger : public Filter
{
public:
    enum Parameter : size_t { dryLevel, wetLevel, speed, delay, sweepDepth, waveform, ring };

    explicit Flanger(const QString& name);

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    void processingFinished() override { mBuffers.clear(); }
    int64_t tailTimeNumFrames() const override;
    bool letsRing() const override { return parameters().isOn(ring); }
    const PresetFormat* presetFormat() const override;

protected:
    /// What another effect of this kind has different.
    struct Kind {
        QString keyWord; ///< of its settings
        double speedSeconds = 0;
        double delayMilliseconds = 0;
        double depthMilliseconds = 0;
    };
    static std::vector<ParameterDescription> makeDescriptions(const Kind& kind);
    static PresetFormat makePresetFormat(const QString& folderName);

    /// The sweep of each track is ahead of that of the track before it by so many cycles.
    Flanger(const QString& name, const std::vector<ParameterDescription>& descriptions,
            double trackOutOfPhase);

    void parameterDidChange(size_t index) override;

private:
    static const std::vector<ParameterDescription>& describeParameters();
    void setUpFactors();
    template <typename Process> void sweepThrough(size_t numFrames, double phase, Process process) const;
    double frames(double milliseconds) const { return milliseconds * sampleRate() * 0.001; }

    const double mTrackOutOfPhase;
    double mDryFactor = 1.0;
    double mWetFactor = 1.0;
    double mDelayBase = 0.0;                          ///< frames
    double mDelayDeviation = 0.0;                     ///< frames
    double mMark = 0.0;                               ///< frames processed
    std::vector<CircularInterpolatedBuffer> mBuffers; ///< one a track
};

} // namespace velloria
