#pragma once

#include "Classes/CoreAudio/DataSource.h"
#include "platform/codec/AudioConverterWrapper.h"

#include <memory>

namespace velloria
{

/// Gives the sound of another source at another rate. One thread at a time.
class SampleRateConverterSource : public DataSource, private AudioConverterDataSource
{
public:
    /// Rates that cannot be converted are logged; the source is then empty.
    SampleRateConverterSource(double inputSampleRate, double outputSampleRate, uint32_t numChannels);
    ~SampleRateConverterSource() override;
    SampleRateConverterSource(const SampleRateConverterSource&) = delete;
    SampleRateConverterSource& operator=(const SampleRateConverterSource&) = delete;

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

    /// 0 when there is no converter.
    double outputSampleRate() const;
    const std::shared_ptr<AudioConverterWrapper>& converter() const { return mConverter; }
    void setConverter(std::shared_ptr<AudioConverterWrapper> converter);
    const std::shared_ptr<DataSource>& dataSource() const { return mDataSource; }
    void setDataSource(std::shared_ptr<DataSource> dataSource) { mDataSource = std::move(dataSource); }

private:
    std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper& converter,
                                                        int64_t numberOfPackets) override;

    std::shared_ptr<AudioConverterWrapper> mConverter;
    std::shared_ptr<DataSource> mDataSource;
    SampleBlock mInput;
};

} // namespace velloria
