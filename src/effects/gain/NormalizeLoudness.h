#pragma once

#include "effects/frame/Filter.h"
#include "measurement/TruePeakMeter.h"

namespace velloria
{

class LoudnessMeter;

/// Scales all tracks by one factor, so that their integrated loudness (EBU R 128) reaches a target; by less
/// where the true peak would pass the ceiling otherwise. Silence, and what is too short to have a loudness,
/// stays as it is.
class NormalizeLoudness : public Filter
{
public:
    explicit NormalizeLoudness(const QString& name);
    ~NormalizeLoudness() override;

    double targetLoudness() const { return parameterValue(0); } ///< LUFS
    double ceilingDB() const { return parameterValue(1); }      ///< dBTP
    double factor() const { return mFactor; }

    void setSource(std::shared_ptr<DocumentSource> source) override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    bool needsAnalysis() const override { return true; }
    std::optional<EffectRemark> remark() const override;

protected:
    void parameterDidChange(size_t index) override;
    void analysisWillBegin() override;
    void analyseBlock(std::span<const std::span<const float>> tracks) override;
    void analysisDidEnd() override;
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    void setFactor();
    bool hasLoudness() const;

    std::unique_ptr<LoudnessMeter> mLoudnessMeter; ///< while the sound is measured
    std::vector<TruePeakMeter> mTruePeakMeters;    ///< likewise
    double mLoudness;                              ///< of the selection; minus infinity: unknown
    double mTruePeak = 0.0;
    float mFactor = 1.0F;
};

} // namespace velloria
