#include "platform/codec/SampleRateConverter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <soxr.h>

namespace velloria
{

namespace
{

constexpr int64_t kFramesPerPull = 4096;

} // namespace

void SampleRateConverter::Deleter::operator()(soxr* converter) const
{
    soxr_delete(converter);
}

int64_t SampleRateConverter::outputLength(int64_t numInputFrames, double inputRate, double outputRate)
{
    return static_cast<int64_t>(std::ceil(static_cast<double>(numInputFrames) * outputRate / inputRate));
}

SampleRateConverter::SampleRateConverter(double inputRate, double outputRate, uint32_t numChannels)
    : mInputRate(inputRate)
    , mOutputRate(outputRate)
    , mNumChannels(numChannels)
{
    const soxr_io_spec_t format = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, SOXR_HI_PREC_CLOCK);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    mConverter.reset(soxr_create(inputRate, outputRate, numChannels, nullptr, &format, &quality, &runtime));
}

std::unique_ptr<SampleRateConverter> SampleRateConverter::create(double inputRate, double outputRate,
                                                                 uint32_t numChannels, MaybeError* error)
{
    // Beyond this ratio the filters grow out of proportion.
    constexpr double maxRatio = 10000.0;
    const bool isSane = numChannels > 0 && inputRate > 0.0 && outputRate > 0.0 &&
                        inputRate / outputRate <= maxRatio && outputRate / inputRate <= maxRatio;
    if (isSane) {
        std::unique_ptr<SampleRateConverter> converter(
            new SampleRateConverter(inputRate, outputRate, numChannels));
        if (converter->mConverter)
            return converter;
    }
    if (error)
        *error = Error{
            Error::Code::unsupported,
            QStringLiteral("Sound at %1 Hz cannot be converted to %2 Hz.").arg(inputRate).arg(outputRate)};
    return nullptr;
}

/// False when there is nothing to go on with.
bool SampleRateConverter::refill(const Source& source, WhenEmpty whenEmpty)
{
    mNumInputFramesUsed = 0;
    if (!mIsSourceAtEnd) {
        mInput = source(kFramesPerPull);
        const bool isEmpty = mInput.size() < mNumChannels;
        if (isEmpty && whenEmpty == WhenEmpty::pause)
            return false;
        mIsSourceAtEnd = isEmpty;
        mNumInputFrames += static_cast<int64_t>(mInput.size() / mNumChannels);
    }
    // Behind its end the sound is silence; what the filter still holds comes out with it.
    if (mIsSourceAtEnd)
        mInput.assign(static_cast<size_t>(kFramesPerPull) * mNumChannels, 0.0F);
    return true;
}

std::vector<float> SampleRateConverter::convert(int64_t numFrames, const Source& source, WhenEmpty whenEmpty)
{
    std::vector<float> output(static_cast<size_t>(numFrames) * mNumChannels);
    size_t numDone = 0;
    while (true) {
        const int64_t total = mIsSourceAtEnd ? outputLength(mNumInputFrames, mInputRate, mOutputRate)
                                             : std::numeric_limits<int64_t>::max();
        const auto wanted = static_cast<size_t>(
            std::min(numFrames - static_cast<int64_t>(numDone), total - mNumOutputFrames));
        if (wanted == 0)
            break;
        if (mInput.empty() || mNumInputFramesUsed == mInput.size() / mNumChannels) {
            if (!refill(source, whenEmpty))
                break;
            continue;
        }
        size_t numUsed = 0;
        size_t numMade = 0;
        soxr_process(mConverter.get(), mInput.data() + mNumInputFramesUsed * mNumChannels,
                     mInput.size() / mNumChannels - mNumInputFramesUsed, &numUsed,
                     output.data() + numDone * mNumChannels, wanted, &numMade);
        mNumInputFramesUsed += numUsed;
        numDone += numMade;
        mNumOutputFrames += static_cast<int64_t>(numMade);
    }
    output.resize(numDone * mNumChannels);
    return output;
}

} // namespace velloria
