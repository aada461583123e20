#pragma once

#include "platform/Error.h"
#include "platform/codec/StreamDescription.h"

#include <QByteArray>
#include <memory>
#include <vector>

namespace velloria
{

class AudioConverterWrapper;
class PacketEncoder;
class SampleRateConverter;

/// Where a converter gets its input.
class AudioConverterDataSource
{
public:
    virtual ~AudioConverterDataSource() = default;
    /// The next interleaved frames, `numberOfPackets` of them or fewer; none at the end.
    virtual std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper& converter,
                                                                int64_t numberOfPackets) = 0;
};

/// Converts interleaved 32-bit floats to another rate, or to packets of a compressed format at the same rate,
/// pulling them from a data source. One thread at a time.
class AudioConverterWrapper
{
public:
    /// `input` is interleaved float; `output` is interleaved float of another (or the same) rate, or a format
    /// that there is an encoder for, with the same rate and channel count. Null, with a log line and `error`
    /// filled, for anything else.
    static std::unique_ptr<AudioConverterWrapper>
    withInputFormat(const StreamDescription& input, const StreamDescription& output, MaybeError* error);
    ~AudioConverterWrapper();

    const StreamDescription& inputFormat() const { return mInputFormat; }
    const StreamDescription& outputFormat() const { return mOutputFormat; }
    /// Not owned; null takes it away, which ends the input.
    void setDataSource(AudioConverterDataSource* dataSource) { mDataSource = dataSource; }

    /// True for a source whose sound is still being recorded: that it gives nothing then means that there is
    /// no more yet. Setting it back to false lets the next call give what the conversion still holds.
    void setDataSourceMayPause(bool mayPause) { mMayPause = mayPause; }

    /// Bits per second of a compressed output; before the first conversion.
    MaybeError setBitRate(int64_t bitRate);

    /// The next packets, numPackets of them or fewer, none when nothing more comes. A packet of float output
    /// is a frame.
    QByteArray convertedDataWithNumPackets(int64_t numPackets);
    /// The same for float output, as floats. A change of rate gives ceil(frames in x output rate / input
    /// rate) frames in all.
    std::vector<float> convertedFloatsWithNumPackets(int64_t numPackets);
    /// What went wrong while encoding; the output ends there.
    const MaybeError& error() const { return mError; }

    // Of compressed output.
    uint32_t outputFramesPerPacket() const;
    QByteArray compressionMagicCookie() const;
    /// Frames that decoding gives before the first one of the input.
    int64_t primingFrames() const;

private:
    AudioConverterWrapper(const StreamDescription& input, const StreamDescription& output);
    MaybeError setUp();
    std::vector<float> pull(int64_t numFrames);
    void encodeSome();

    StreamDescription mInputFormat;
    StreamDescription mOutputFormat;
    AudioConverterDataSource* mDataSource = nullptr;
    bool mMayPause = false;
    std::unique_ptr<SampleRateConverter> mRateConverter;
    std::unique_ptr<PacketEncoder> mEncoder;
    std::vector<QByteArray> mPackets;
    bool mIsEncoderFinished = false;
    MaybeError mError;
};

} // namespace velloria
