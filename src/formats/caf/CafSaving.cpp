#include "formats/caf/VLAFCoreAudioFile.h"
#include "formats/saving/PacketSaver.h"
#include "formats/saving/SampleBytesSink.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "formats/streams/EndianSwap.h"
#include "platform/codec/AudioFormats.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace velloria
{

namespace
{

// What the size estimate allows for headers and tags.
constexpr double estimatedHeaderSize = 1000.0;
constexpr uint32_t mostChannelsOfIma4 = 2;

struct Encoding {
    FourCharCode format;
    /// Null for one that is kept, but not offered.
    const char* title;
    uint32_t bits;
    bool isFloat;
    double bytesPerSample;
};

constexpr std::array encodings = {
    Encoding{DataFormat::kIma4, "IMA 4:1", 16, false, 0.5},
    Encoding{fourCharCode("sowt"), "16-bit integer", 16, false, 2.0},
    Encoding{fourCharCode("in24"), "24-bit integer", 24, false, 3.0},
    Encoding{fourCharCode("in32"), "32-bit integer", 32, false, 4.0},
    Encoding{fourCharCode("fl32"), "32-bit floating point", 32, true, 4.0},
    Encoding{fourCharCode("fl64"), "64-bit floating point", 64, true, 8.0},
    Encoding{fourCharCode("raw "), nullptr, 8, false, 2.0},
};

const Encoding* encodingOf(FourCharCode format)
{
    const auto* const found = std::find_if(encodings.begin(), encodings.end(),
                                           [format](const Encoding& each) { return each.format == format; });
    return found == encodings.end() ? nullptr : found;
}

template <typename Word> void storeBigEndian(std::span<const float> samples, std::vector<std::byte>& out)
{
    using Real = std::conditional_t<sizeof(Word) == 4, float, double>;
    out.resize(samples.size() * sizeof(Word));
    for (size_t i = 0; i < samples.size(); ++i) {
        const Word word = qToBigEndian(std::bit_cast<Word>(static_cast<Real>(samples[i])));
        std::memcpy(out.data() + i * sizeof(Word), &word, sizeof(Word));
    }
}

} // namespace

FileOptions VLAFCoreAudioFile::fileOptions() const
{
    FourCharCode selected = mDataFormat;
    if (selected == DataFormat::kLinearPcm)
        selected = CafFormat{mSampleRate, DataFormat::kLinearPcm, mIsFloat ? 1U : 0U, 0,
                             1,           mNumberOfChannels,      mBitsPerSample}
                       .dataFormat();
    FileOptions options{QStringLiteral("Data format:"), {}, static_cast<int>(fourCharCode("fl32"))};
    for (const Encoding& encoding : encodings) {
        if (!encoding.title)
            continue;
        options.items.push_back({static_cast<int>(encoding.format), QString::fromLatin1(encoding.title)});
        if (encoding.format == selected)
            options.selectedTag = static_cast<int>(selected);
    }
    return options;
}

double VLAFCoreAudioFile::estimatedFileSizeWithTag(int tag) const
{
    const Encoding* const encoding = encodingOf(static_cast<FourCharCode>(tag));
    if (!encoding)
        return -1.0;
    return static_cast<double>(mNumberOfFrames) * mNumberOfChannels * encoding->bytesPerSample +
           estimatedHeaderSize;
}

void VLAFCoreAudioFile::configureWithPopUpTag(int tag)
{
    mDataFormat = static_cast<FourCharCode>(tag);
    mIsOptionChosen = true;
    const Encoding* const encoding = encodingOf(mDataFormat);
    if (encoding && !encoding->isFloat && !isIma4())
        mBitsPerSample = encoding->bits;
}

void VLAFCoreAudioFile::validateAndCorrectParameters()
{
    if (!encodingOf(mDataFormat)) {
        mDataFormat = fourCharCode("fl32");
        mBitsPerSample = 32;
    }
    const Encoding& encoding = *encodingOf(mDataFormat);
    mIsFloat = encoding.isFloat;
    if (!isIma4())
        mBitsPerSample = encoding.bits;
    else if (mBitsPerSample == 0)
        mBitsPerSample = 16;
}

uint32_t VLAFCoreAudioFile::maximumNumberOfChannels() const
{
    return isIma4() ? mostChannelsOfIma4 : AudioFile::maximumNumberOfChannels();
}

bool VLAFCoreAudioFile::isIma4() const
{
    return mDataFormat == DataFormat::kIma4;
}

bool VLAFCoreAudioFile::storesIntegers() const
{
    const Encoding* const encoding = encodingOf(mDataFormat);
    return encoding && !encoding->isFloat && !isIma4();
}

MaybeError VLAFCoreAudioFile::writeAudioData(std::span<std::byte> data, int64_t offset)
{
    endianSwapData(data, mBitsPerSample);
    return AudioFile::writeAudioData(data, offset);
}

MaybeError VLAFCoreAudioFile::writeFloatData(std::span<const float> interleaved, int64_t frameOffset)
{
    std::vector<std::byte> bytes;
    if (mBitsPerSample == 64)
        storeBigEndian<quint64>(interleaved, bytes);
    else
        storeBigEndian<quint32>(interleaved, bytes);
    return writeRawData(bytes, mSoundDataOffset + frameOffset * frameSize());
}

CafFormat VLAFCoreAudioFile::formatToWrite() const
{
    if (mKeptFormat)
        return *mKeptFormat;
    CafFormat format;
    format.sampleRate = mSampleRate;
    format.numChannels = mNumberOfChannels;
    const auto info = audioFormatInfo(mDataFormat);
    if (isIma4() && info) {
        format.formatID = mDataFormat;
        format.framesPerPacket = info->framesPerPacket;
        format.bytesPerPacket = info->bytesPerPacketAndChannel * mNumberOfChannels;
        return format;
    }
    format.formatID = DataFormat::kLinearPcm;
    format.formatFlags = mIsFloat ? CafFormat::flagFloat : 0;
    format.framesPerPacket = 1;
    format.bitsPerChannel = mBitsPerSample;
    format.bytesPerPacket = static_cast<uint32_t>(frameSize());
    return format;
}

int64_t VLAFCoreAudioFile::numPackets() const
{
    const int64_t framesPerPacket = std::max(1U, formatToWrite().framesPerPacket);
    return mNumberOfFrames / framesPerPacket + (mNumberOfFrames % framesPerPacket != 0);
}

int64_t VLAFCoreAudioFile::soundDataLength() const
{
    return numPackets() * formatToWrite().bytesPerPacket;
}

/// Packets and valid frames (64 bits each), priming and remainder (32 bits each). Packets of equal size need
/// no sizes.
QByteArray VLAFCoreAudioFile::packetTablePayload() const
{
    const VLAFCoreAudioFile* const edited = editedFile();
    const CafChunk* const table =
        keptSound() && edited ? edited->mChunks.find(CafChunkType::packetTable) : nullptr;
    if (table)
        return edited->readRawDataAtOffset(table->payloadOffset(), table->size);
    BigEndianOutputStream stream;
    stream.writeSInt64(numPackets());
    stream.writeSInt64(mNumberOfFrames);
    stream.writeSInt32(0);
    stream.writeSInt32(
        static_cast<int32_t>(numPackets() * formatToWrite().framesPerPacket - mNumberOfFrames));
    return stream.data();
}

bool VLAFCoreAudioFile::writeHeader(MaybeError* error)
{
    // The product of absurd numbers need not fit 64 bits, and a file system holds no file of that size.
    constexpr int64_t largestFile = std::numeric_limits<int64_t>::max() / 2;
    if (mNumberOfFrames > largestFile / std::max<int64_t>(1, formatToWrite().bytesPerPacket)) {
        if (error)
            *error = Error{Error::Code::fileTooLarge, QStringLiteral("The sound is too long for any file.")};
        return false;
    }
    const ChunkPlan plan = chunkPlan();
    mPeakOffset = 0;
    BigEndianOutputStream start;
    start.writeUInt32(fourCharCode("caff"));
    start.writeUInt16(CafChunkList::fileVersion);
    start.writeUInt16(0);
    BigEndianOutputStream data;
    data.writeUInt32(CafChunkType::data);
    data.writeSInt64(CafChunkList::editCountLength + soundDataLength());
    data.writeUInt32(editCount());
    int64_t offset = start.data().size();
    MaybeError failure = writeRawData(start.data(), 0);
    if (!failure)
        failure = writeChunks(plan.inFront, &offset);
    if (!failure)
        failure = writeRawData(data.data(), offset);
    mSoundDataOffset = offset + data.data().size();
    if (failure && error)
        *error = failure;
    return !failure;
}

MaybeError VLAFCoreAudioFile::writeFooter()
{
    int64_t offset = mSoundDataOffset + soundDataLength();
    if (auto error = writeChunks(chunkPlan().behind, &offset))
        return error;
    return writePeaks();
}

MaybeError VLAFCoreAudioFile::writeRange(const FrameSource& document, const SaveRange& range,
                                         Progress& progress)
{
    return isIma4() ? writePackets(document, range, progress)
                    : AudioFile::writeRange(document, range, progress);
}

MaybeError VLAFCoreAudioFile::writePackets(const FrameSource& document, const SaveRange& range,
                                           Progress& progress)
{
    MaybeError error;
    if (!writeHeader(&error))
        return error;
    PacketSaver::Options options;
    options.format = StreamDescription(std::max(1.0, std::round(mSampleRate)), mNumberOfChannels);
    options.format.setFormat(mDataFormat);
    options.format.useAudioFormatToValidateDescription();
    PacketSaver saver(document, range, options);
    SampleBytesSink sink(*this);
    error = saver.run(sink, progress);
    return error ? error : writeFooter();
}

/// Whether the packets are all of one size and hold, one behind the other, the frames of the sound: none that
/// an encoder put in front of it, and no tables that would have to come along.
bool VLAFCoreAudioFile::hasPlainPackets() const
{
    constexpr int64_t primingOffset = 16;
    const auto priming = [this](const CafChunk& table) {
        const QByteArray bytes = readRawDataAtOffset(table.payloadOffset() + primingOffset, 4);
        return bytes.size() < 4 ? 1U : qFromBigEndian<quint32>(bytes.constData());
    };
    const CafFormat& format = mKeptFormat ? *mKeptFormat : mFormat;
    const CafChunk* const table = mChunks.find(CafChunkType::packetTable);
    return format.bytesPerPacket > 0 && format.framesPerPacket > 0 && mNumBytesOfSound > 0 &&
           (!table || priming(*table) == 0) && !mChunks.find(CafChunkType::cookie);
}

bool VLAFCoreAudioFile::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const VLAFCoreAudioFile*>(&source);
    if (!opened || !opened->warnings().isEmpty() || !opened->hasPlainPackets() ||
        (mIsOptionChosen && opened->mDataFormat != mDataFormat))
        return false;
    mKeptFormat = opened->mKeptFormat ? opened->mKeptFormat : opened->mFormat;
    // Otherwise the header says something else of the length than the packets do.
    if (soundDataLength() != opened->mNumBytesOfSound) {
        mKeptFormat.reset();
        return false;
    }
    mNumBytesOfSound = opened->mNumBytesOfSound;
    mBitsPerSample = opened->mBitsPerSample;
    mIsFloat = opened->mIsFloat;
    return true;
}

ByteRange VLAFCoreAudioFile::keptBytes() const
{
    return {keptSound()->soundDataOffset(), mNumBytesOfSound};
}

} // namespace velloria
