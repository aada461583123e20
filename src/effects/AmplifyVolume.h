#pragma once

#include "effects/Filter.h"

#include <atomic>

namespace velloria
{

/// Multiplies every sample by a gain in dB.
class AmplifyVolume : public Filter
{
public:
    explicit AmplifyVolume(const QString& name);

    double gainDB() const { return parameterValue(0); }
    void setGainDB(double gainDB) { setParameterValue(0, gainDB); }

    const std::vector<ParameterDescription>& parameters() const override;
    void setParameterValue(size_t index, double value) override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

protected:
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    /// Relaxed: set by the dialog on the main thread while a preview reads it, and nothing hangs on it.
    std::atomic<float> mAmpFactor = 1.0F;
};

} // namespace velloria
