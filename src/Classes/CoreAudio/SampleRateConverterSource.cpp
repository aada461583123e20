#include "Classes/CoreAudio/SampleRateConverterSource.h"

#include <algorithm>
#include <limits>

namespace velloria
{

SampleRateConverterSource::SampleRateConverterSource(double inputSampleRate, double outputSampleRate,
                                                     uint32_t numChannels)
{
    setConverter(AudioConverterWrapper::withInputFormat(
        StreamDescription::descriptionWithSampleRate(inputSampleRate, numChannels),
        StreamDescription::descriptionWithSampleRate(outputSampleRate, numChannels), nullptr));
}

SampleRateConverterSource::~SampleRateConverterSource()
{
    // Somebody else may hold the converter for longer than this.
    setConverter(nullptr);
}

void SampleRateConverterSource::setConverter(std::shared_ptr<AudioConverterWrapper> converter)
{
    if (mConverter)
        mConverter->setDataSource(nullptr);
    mConverter = std::move(converter);
    if (mConverter)
        mConverter->setDataSource(this);
}

double SampleRateConverterSource::outputSampleRate() const
{
    return mConverter ? mConverter->outputFormat().sampleRate() : 0.0;
}

bool SampleRateConverterSource::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    block.clear();
    if (!mConverter)
        return false;
    constexpr uint64_t maxFrames = std::numeric_limits<int32_t>::max();
    const std::vector<float> frames =
        mConverter->convertedFloatsWithNumPackets(static_cast<int64_t>(std::min(numFrames, maxFrames)));
    if (frames.empty())
        return false;
    block = deinterleaveAudioData(frames, mConverter->outputFormat().channelsPerFrame());
    return true;
}

std::vector<float> SampleRateConverterSource::interleavedDataForAudioConverter(AudioConverterWrapper&,
                                                                               int64_t numberOfPackets)
{
    const auto numFrames = static_cast<uint64_t>(std::max<int64_t>(0, numberOfPackets));
    if (!mDataSource || !mDataSource->requestDataWithNumFrames(numFrames, mInput))
        return {};
    return interleaveAudioData(mInput);
}

} // namespace velloria
