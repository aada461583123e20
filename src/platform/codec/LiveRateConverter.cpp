#include "platform/codec/LiveRateConverter.h"

#include <algorithm>
#include <soxr.h>
#include <vector>

namespace velloria
{

namespace
{

// soxr's queues move their contents to the front every 16384 bytes; once that has happened a few times they
// have grown to their final size.
constexpr uint32_t kWarmUpFrames = 32768;

} // namespace

void LiveRateConverter::Deleter::operator()(soxr* converter) const
{
    soxr_delete(converter);
}

LiveRateConverter::LiveRateConverter(double inputRate, double outputRate, double speed)
    : mBaseRatio(inputRate / outputRate)
    , mRatio(mBaseRatio)
    , mCanChangeSpeed(speed != 1.0)
{
    const soxr_io_spec_t format = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    if (mCanChangeSpeed) {
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, SOXR_VR);
        mConverter.reset(soxr_create(mBaseRatio * kFastest, 1.0, 2, nullptr, &format, &quality, &runtime));
    } else {
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
        mConverter.reset(soxr_create(inputRate, outputRate, 2, nullptr, &format, &quality, &runtime));
    }
    if (!mConverter)
        return;
    if (mCanChangeSpeed)
        setSpeed(speed);
    warmUp();
}

std::unique_ptr<LiveRateConverter> LiveRateConverter::create(double inputRate, double outputRate,
                                                             double speed)
{
    // Beyond this ratio the filters grow out of proportion.
    constexpr double maxRatio = 100.0;
    const bool isSane = inputRate > 0.0 && outputRate > 0.0 && inputRate / outputRate <= maxRatio &&
                        outputRate / inputRate <= maxRatio;
    if (!isSane)
        return nullptr;
    std::unique_ptr<LiveRateConverter> converter(new LiveRateConverter(inputRate, outputRate, speed));
    return converter->mConverter ? std::move(converter) : nullptr;
}

void LiveRateConverter::setSpeed(double speed)
{
    if (!mCanChangeSpeed)
        return;
    mRatio = mBaseRatio * std::clamp(speed, kSlowest, kFastest);
    soxr_set_io_ratio(mConverter.get(), mRatio, 0);
}

void LiveRateConverter::warmUp()
{
    if (!mCanChangeSpeed) {
        putSilence();
        return;
    }
    const double wanted = mRatio / mBaseRatio;
    for (const double speed : {kSlowest, kFastest, wanted}) {
        setSpeed(speed);
        putSilence();
    }
}

void LiveRateConverter::putSilence()
{
    const std::vector<float> silence(2 * size_t{kMaxFrames});
    std::vector<float> dropped(silence.size());
    for (const uint32_t numOut : {kMaxFrames, kMaxFrames / 10}) {
        for (uint32_t done = 0; done < kWarmUpFrames;) {
            const Step step = convert(silence.data(), kMaxFrames, dropped.data(), numOut);
            done += std::max(step.numUsed, step.numMade);
            if (step.numUsed == 0 && step.numMade == 0)
                return;
        }
    }
    // Nothing that could come out without new input may stay behind.
    while (convert(silence.data(), 0, dropped.data(), kMaxFrames).numMade > 0) {
    }
}

LiveRateConverter::Step LiveRateConverter::convert(const float* in, uint32_t numIn, float* out,
                                                   uint32_t numOut)
{
    size_t numUsed = 0;
    size_t numMade = 0;
    // With no input at all soxr would take the sound for finished; an empty block says that more will come.
    soxr_process(mConverter.get(), in, numIn, &numUsed, out, numOut, &numMade);
    return {static_cast<uint32_t>(numUsed), static_cast<uint32_t>(numMade)};
}

double LiveRateConverter::numFramesHeld() const
{
    return std::max(0.0, soxr_delay(mConverter.get()) * mRatio);
}

} // namespace velloria
