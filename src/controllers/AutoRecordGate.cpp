#include "controllers/AutoRecordGate.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

double AutoRecordGate::levelOf(const FloatBuffer& left, const FloatBuffer& right)
{
    float peak = 0.0F;
    for (const FloatBuffer* const side : {&left, &right})
        for (const float sample : *side)
            peak = std::max(peak, sample);
    return 20.0 * std::log10(double{peak});
}

void AutoRecordGate::count(double level, size_t numFrames, const Settings& settings)
{
    double& remaining = mTimeRemainingBeforeStop;
    if (level >= settings.startLevel)
        remaining = settings.stopDuration;
    else if (level >= settings.stopLevel) {
        if (remaining > 0.0 && remaining < settings.stopDuration)
            remaining = settings.stopDuration;
    } else
        remaining -= static_cast<double>(numFrames) / 2.0 / mSampleRate;
}

bool AutoRecordGate::take(const FloatBuffer& left, const FloatBuffer& right, const Settings& settings,
                          const Keeper& keep)
{
    count(levelOf(left, right), left.size(), settings);
    if (!isOpen()) {
        mPreviousLeftBuffer = left;
        mPreviousRightBuffer = right;
        return true;
    }
    const FloatBuffer previousLeft = std::exchange(mPreviousLeftBuffer, {});
    const FloatBuffer previousRight = std::exchange(mPreviousRightBuffer, {});
    if (!previousLeft.empty() && !keep(previousLeft, previousRight))
        return false;
    return keep(left, right);
}

} // namespace velloria
