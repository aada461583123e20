#include "formats/decoding/VLAudioFileDecompressor.h"

#include "platform/Log.h"
#include "platform/codec/AudioFormats.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int64_t kOutputDataMaxLength = 65536;
// What AAC encoders put first where the file does not say: the delay of the most widespread one.
constexpr int64_t kDefaultPrimingFramesOfAac = 2112;

FourCharCode typeHintOf(const QString& uti)
{
    if (uti == QLatin1String("public.aac-audio"))
        return FileType::kAdts;
    return uti == QLatin1String("public.mp3") ? FileType::kMp3 : 0;
}

/// The number for the log.
int32_t statusOf(const MaybeError& error)
{
    const auto code = error ? error->code : Error::Code::failed;
    if (code == Error::Code::unsupported)
        return static_cast<int32_t>(fourCharCode("typ?"));
    return static_cast<int32_t>(fourCharCode(code == Error::Code::corruptFile ? "dta?" : "wht?"));
}

bool isAac(FourCharCode dataFormat)
{
    return dataFormat == DataFormat::kAac || dataFormat == DataFormat::kHeAac ||
           dataFormat == DataFormat::kHeAacV2;
}

/// Companded and adaptive encodings, those of WAVE files too (their codes are "ms" and a number).
bool decodesTo16Bits(FourCharCode dataFormat)
{
    constexpr std::array encodings = {DataFormat::kALaw,    DataFormat::kMuLaw,   DataFormat::kIma4,
                                      fourCharCode("MAC3"), fourCharCode("MAC6"), fourCharCode("agsm")};
    return dataFormat >> 16 == fourCharCode("ms\0\0") >> 16 ||
           std::find(encodings.begin(), encodings.end(), dataFormat) != encodings.end();
}

std::unique_ptr<VLAudioFileDecompressor> failed(const QString& line, const MaybeError& failure,
                                                MaybeError* error)
{
    logLine(line.arg(statusOf(failure)));
    if (error)
        *error = failure;
    return nullptr;
}

} // namespace

std::unique_ptr<VLAudioFileDecompressor>
VLAudioFileDecompressor::forReadingFile(const std::filesystem::path& path, const QString& uti,
                                        MaybeError* error)
{
    MaybeError failure;
    const std::shared_ptr<FileHandle> handle = FileHandle::openForReading(path, &failure);
    return handle ? forReadingFile(handle, uti, error)
                  : failed(QStringLiteral("AudioFileOpenURL() error: %1"), failure, error);
}

std::unique_ptr<VLAudioFileDecompressor>
VLAudioFileDecompressor::forReadingFile(const std::shared_ptr<FileHandle>& handle, const QString& uti,
                                        MaybeError* error)
{
    MaybeError failure;
    auto reader = PacketReader::open(handle, typeHintOf(uti), &failure);
    if (!reader)
        return failed(QStringLiteral("AudioFileOpenURL() error: %1"), failure, error);
    std::unique_ptr<VLAudioFileDecompressor> decoder(new VLAudioFileDecompressor(std::move(reader)));
    decoder->mDecoder = StreamDecoder::open(*decoder->mReader, &failure);
    if (!decoder->mDecoder)
        return failed(QStringLiteral("VLAudioFileDecompressor: AudioConverterNew() error %1"), failure,
                      error);
    const StreamDescription& description = decoder->mReader->streamDescription();
    if (description.formatID() == DataFormat::kAppleLossless)
        decoder->mBitsPerSample = appleLosslessBits(description.formatFlags());
    else if (description.isLinearPcm())
        decoder->mBitsPerSample = description.bitsPerChannel();
    else
        decoder->mBitsPerSample = decoder->mReader->flacBits();
    decoder->setUpPriming();
    logLine(QStringLiteral("Bit rate: %1").arg(decoder->bitRate()));
    decoder->mChannels.resize(description.channelsPerFrame());
    return decoder;
}

void VLAudioFileDecompressor::setUpPriming()
{
    mNumberOfFrames = mReader->numFramesInPackets();
    if (mReader->streamDescription().bitsPerChannel() != 0)
        return;
    int64_t remainder = 0;
    mNumPrimingFrames = isAac(dataFormat()) ? kDefaultPrimingFramesOfAac : 0;
    if (const auto& table = mReader->packetTable()) {
        mNumPrimingFrames = table->primingFrames;
        remainder = table->remainderFrames;
    } else if (mNumPrimingFrames >= mNumberOfFrames) {
        // A piece that is shorter than the delay was cut out of a stream: nothing of it is the encoder's.
        mNumPrimingFrames = 0;
    }
    mNumberOfFrames = std::max<int64_t>(0, mNumberOfFrames - mNumPrimingFrames - remainder);
    logLine(QStringLiteral("VLAudioFileDecompressor info: priming %1, remainder %2 frames.")
                .arg(mNumPrimingFrames)
                .arg(remainder));
}

void VLAudioFileDecompressor::setExactSampleRate(double rate)
{
    if (std::abs(rate - sampleRate()) < 1.0)
        mExactSampleRate = rate;
}

bool VLAudioFileDecompressor::hasMetDamage() const
{
    // A packet that the end of the file cuts is no damage beside that.
    if (mDecoder->numDamagedPackets() > (isCutShort() ? 1 : 0))
        return true;
    const bool isShort = mIsAtEnd && mNumberOfFrames - mConvertedFrameCount > mReader->countTolerance();
    return !isCutShort() && (isShort || mReader->hasLostPackets());
}

bool VLAudioFileDecompressor::isFloat() const
{
    const StreamDescription& description = mReader->streamDescription();
    return description.isLinearPcm() && (description.formatFlags() & FormatFlag::kFloat);
}

StoredSamples VLAudioFileDecompressor::storedSamples() const
{
    if (mBitsPerSample != 0)
        return {mBitsPerSample, isFloat(), false};
    // Companded samples are encoded again to the very same bytes.
    const bool isCompanded = dataFormat() == DataFormat::kALaw || dataFormat() == DataFormat::kMuLaw;
    return {decodesTo16Bits(dataFormat()) ? 16 : 0, false, !isCompanded};
}

int64_t VLAudioFileDecompressor::convertOneBuffer(std::vector<std::vector<float>>& planar)
{
    if (mNumPrimingFrames > 0) {
        mDecoder->skip(mNumPrimingFrames);
        mNumPrimingFrames = 0;
    }
    const int64_t bytesPerFrame = 4 * static_cast<int64_t>(mChannels.size());
    const int64_t wanted =
        std::min(kOutputDataMaxLength / bytesPerFrame, mNumberOfFrames - mConvertedFrameCount);
    planar.resize(mChannels.size());
    for (size_t c = 0; c < mChannels.size(); ++c) {
        planar[c].resize(static_cast<size_t>(wanted));
        mChannels[c] = planar[c].data();
    }
    const int64_t numFrames = mDecoder->decode(wanted, mChannels);
    for (std::vector<float>& channel : planar)
        channel.resize(static_cast<size_t>(numFrames));
    mConvertedFrameCount += numFrames;
    mIsAtEnd = numFrames < wanted;
    return numFrames;
}

std::vector<float> VLAudioFileDecompressor::convertOneBufferOfAudioData()
{
    const auto numFrames = static_cast<size_t>(convertOneBuffer(mPlanar));
    const size_t numChannels = mPlanar.size();
    std::vector<float> interleaved(numFrames * numChannels);
    for (size_t c = 0; c < numChannels; ++c) {
        for (size_t i = 0; i < numFrames; ++i)
            interleaved[i * numChannels + c] = mPlanar[c][i];
    }
    return interleaved;
}

} // namespace velloria
