#include "formats/caf/VLAFCoreAudioFile.h"

#include "formats/caf/CafInfo.h"
#include "formats/caf/CafMarkers.h"
#include "formats/chunks/ChunkNames.h"
#include "formats/decoding/FileDamage.h"
#include "formats/decoding/LinearPcmIntake.h"
#include "formats/saving/PacketSaver.h"
#include "formats/saving/SampleBytesSink.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "formats/streams/EndianSwap.h"
#include "platform/Log.h"
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

constexpr FourCharCode descriptionType = fourCharCode("desc");
constexpr FourCharCode dataType = fourCharCode("data");
constexpr FourCharCode infoType = fourCharCode("info");
constexpr FourCharCode markerType = fourCharCode("mark");
constexpr FourCharCode stringsType = fourCharCode("strg");
constexpr FourCharCode packetTableType = fourCharCode("pakt");

constexpr uint16_t fileVersion = 1;
// The number of edits stands before the sound.
constexpr int64_t editCountLength = 4;
// Chunks beyond this size are no descriptions of a recording.
constexpr int64_t largestKeptChunk = int64_t{64} << 20;
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

QByteArray chunkOf(FourCharCode type, const QByteArray& payload)
{
    BigEndianOutputStream stream;
    stream.writeCafChunk(type, payload);
    return stream.data();
}

void logException(const QString& reason)
{
    logLine(QStringLiteral("Exception raised in -[VLAFCoreAudioFile writeMarkerChunkWithStream:]: %1")
                .arg(reason));
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

VLAFCoreAudioFile::VLAFCoreAudioFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
}

VLAFCoreAudioFile::VLAFCoreAudioFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
}

bool VLAFCoreAudioFile::validateFileHeader(const FileHandle& handle)
{
    const QByteArray bytes = handle.readAt(0, 6);
    return (bytes.startsWith("caff") || bytes.startsWith("CAFF")) && bytes.size() == 6 &&
           qFromBigEndian<quint16>(bytes.constData() + 4) == fileVersion;
}

std::shared_ptr<AudioFile> VLAFCoreAudioFile::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    if (!validateFileHeader(*handle))
        return nullptr;
    const std::shared_ptr<VLAFCoreAudioFile> file(new VLAFCoreAudioFile(std::move(handle)));
    const MaybeError failure = file->readHeader();
    if (!failure)
        return file;
    if (error)
        *error = failure;
    return nullptr;
}

QString VLAFCoreAudioFile::fileFormatUTI() const
{
    return QStringLiteral("com.apple.coreaudio-format");
}

QString VLAFCoreAudioFile::encodingDescription() const
{
    return mChunks.chunks().empty() ? formatToWrite().description() : mFormat.description();
}

QString VLAFCoreAudioFile::name() const
{
    return displayName(filePath());
}

MaybeError VLAFCoreAudioFile::readHeader()
{
    mRequiresConversion = true;
    mChunks = CafChunkList::ofFile(*fileHandle());
    if (auto failure = readFormat())
        return failure;
    const CafChunk* const data = mChunks.find(dataType);
    if (!data)
        return FileDamage::unreadable(name(), QStringLiteral("it has no sound data"));
    readSound(*data);
    readMarkerChunk();
    readMetadata();
    listChunksNotKept();
    return std::nullopt;
}

MaybeError VLAFCoreAudioFile::readFormat()
{
    const CafChunk* const description = mChunks.find(descriptionType);
    if (!description)
        return FileDamage::unreadable(name(), QStringLiteral("its format chunk is missing"));
    const QByteArray payload = readRawDataAtOffset(description->payloadOffset(), CafFormat::length);
    if (description->size < CafFormat::length || payload.size() < CafFormat::length)
        return FileDamage::unreadable(name(), QStringLiteral("its format chunk is cut short"));
    mFormat = CafFormat::ofPayload(payload);
    if (auto failure = mFormat.checked(name()))
        return failure;
    mSampleRate = mFormat.sampleRate;
    mDataFormat = mFormat.dataFormat();
    mNumberOfChannels = mFormat.numChannels;
    mIsFloat = mFormat.isFloat();
    mIsLittleEndian = mFormat.formatFlags & CafFormat::flagLittleEndian;
    if (mFormat.isLinearPcm())
        mBitsPerSample = 8 * mFormat.layout().bytesPerSample;
    return std::nullopt;
}

void VLAFCoreAudioFile::readSound(const CafChunk& data)
{
    mSoundDataOffset = data.payloadOffset() + editCountLength;
    mNumBytesOfSound = std::max<int64_t>(0, data.size - editCountLength);
    const int64_t bytesPerPacket = mFormat.isLinearPcm()
                                       ? int64_t{mFormat.layout().bytesPerSample} * mNumberOfChannels
                                       : mFormat.bytesPerPacket;
    if (bytesPerPacket > 0)
        mNumberOfFrames = mNumBytesOfSound / bytesPerPacket * std::max(1U, mFormat.framesPerPacket);
    mHoldsNoSound = mNumBytesOfSound == 0;
    if (!data.isComplete)
        mWarnings.append(FileDamage::soundCutShort(name()));
}

/// Of the first chunk of the type; empty when it is missing. It counts as kept from now on.
QByteArray VLAFCoreAudioFile::payloadOf(FourCharCode type)
{
    const CafChunk* const chunk = mChunks.find(type);
    if (!chunk || chunk->size > largestKeptChunk)
        return {};
    mOffsetsOfKeptChunks.push_back(chunk->offset);
    return readRawDataAtOffset(chunk->payloadOffset(), chunk->size);
}

void VLAFCoreAudioFile::readMarkerChunk()
{
    const CafChunk* const chunk = mChunks.find(markerType);
    if (!chunk)
        return;
    const QByteArray positions = payloadOf(markerType);
    CafMarkers::Result result = CafMarkers::markersOfPayloads(positions, payloadOf(stringsType));
    if (!result.isComplete || !chunk->isComplete) {
        logException(QStringLiteral("the chunks end before the last marker"));
        mWarnings.append(FileDamage::markersUnreadable(name()));
    }
    mMarkers = std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(result.markers));
}

void VLAFCoreAudioFile::readMetadata()
{
    const MetadataDictionary dictionary = CafInfo::dictionaryOfPayload(payloadOf(infoType));
    mMetadata.setValuesWithDictionary(dictionary);
    const QStringList& known = AudioMetadata::dictionaryKeys();
    for (const QString& key : dictionary.keys()) {
        if (!known.contains(key))
            mLedger.addNotKept(ItemKind::tag, key);
    }
}

void VLAFCoreAudioFile::listChunksNotKept()
{
    // What follows from the format, the samples or their order, and filler.
    constexpr std::array dispensable = {descriptionType,      dataType,
                                        packetTableType,      fourCharCode("kuki"),
                                        fourCharCode("free"), fourCharCode("peak"),
                                        fourCharCode("ovvw"), fourCharCode("chan")};
    for (const CafChunk& chunk : mChunks.chunks()) {
        const bool isKept = std::find(mOffsetsOfKeptChunks.begin(), mOffsetsOfKeptChunks.end(),
                                      chunk.offset) != mOffsetsOfKeptChunks.end();
        const bool isDispensable = chunk.size == 0 || std::find(dispensable.begin(), dispensable.end(),
                                                                chunk.type) != dispensable.end();
        if (!isKept && !isDispensable)
            mLedger.addNotKept(ItemKind::part, nameOfChunk(chunk.type, {}));
    }
}

std::vector<std::shared_ptr<MutableAudioClip>> VLAFCoreAudioFile::convertedAudioClips(Progress& progress,
                                                                                      MaybeError* error)
{
    if (mHoldsNoSound || !mFormat.isLinearPcm())
        return AudioFile::convertedAudioClips(progress, error);
    mBitRate = static_cast<int64_t>(mSampleRate * static_cast<double>(8 * frameSize()));
    const LinearPcmRun run = {mFormat.layout(), mSoundDataOffset,
                              mNumberOfFrames * mFormat.layout().bytesPerSample * mNumberOfChannels};
    const auto didBegin = [this](const DecodedClips& clips) { tellDecodingDidBegin(clips, mNumberOfFrames); };
    return clipsOfLinearPcm(*fileHandle(), run, mNumberOfChannels, mSampleRate, didBegin, progress, error);
}

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
    BigEndianOutputStream stream;
    stream.writeSInt64(numPackets());
    stream.writeSInt64(mNumberOfFrames);
    stream.writeSInt32(0);
    stream.writeSInt32(
        static_cast<int32_t>(numPackets() * formatToWrite().framesPerPacket - mNumberOfFrames));
    return stream.data();
}

QByteArray VLAFCoreAudioFile::chunksBeforeSound() const
{
    QByteArray chunks = chunkOf(descriptionType, formatToWrite().payload());
    if (mMarkers && !mMarkers->empty()) {
        chunks += chunkOf(markerType, CafMarkers::markerPayload(*mMarkers));
        chunks += chunkOf(stringsType, CafMarkers::stringsPayload(*mMarkers));
    }
    if (isIma4())
        chunks += chunkOf(packetTableType, packetTablePayload());
    return chunks;
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
    BigEndianOutputStream stream;
    stream.writeUInt32(fourCharCode("caff"));
    stream.writeUInt16(fileVersion);
    stream.writeUInt16(0);
    stream.appendData(chunksBeforeSound());
    stream.writeUInt32(dataType);
    stream.writeSInt64(editCountLength + soundDataLength());
    stream.writeUInt32(0);
    mSoundDataOffset = stream.data().size();
    const MaybeError failure = writeRawData(stream.data(), 0);
    if (failure && error)
        *error = failure;
    return !failure;
}

MaybeError VLAFCoreAudioFile::writeFooter()
{
    const QByteArray info = CafInfo::payloadOfDictionary(mMetadata.dictionary());
    if (info.isEmpty())
        return std::nullopt;
    return writeRawData(chunkOf(infoType, info), mSoundDataOffset + soundDataLength());
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
    setSourceWasShort(saver.sourceWasShort());
    return error ? error : writeFooter();
}

} // namespace velloria
