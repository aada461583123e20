#include "formats/caf/VLAFCoreAudioFile.h"

#include "formats/caf/CafChunkNames.h"
#include "formats/caf/CafInfo.h"
#include "formats/caf/CafMarkers.h"
#include "formats/chunks/UnusedBytes.h"
#include "formats/decoding/FileDamage.h"
#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/file/SampleWidth.h"
#include "formats/tags/ValueChanges.h"
#include "platform/Log.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

// Chunks beyond this size are no descriptions of a recording.
constexpr int64_t largestKeptChunk = int64_t{64} << 20;

void logException(const QString& reason)
{
    logLine(QStringLiteral("Exception raised in -[VLAFCoreAudioFile writeMarkerChunkWithStream:]: %1")
                .arg(reason));
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
           qFromBigEndian<quint16>(bytes.constData() + 4) == CafChunkList::fileVersion;
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
    const CafChunk* const data = mChunks.find(CafChunkType::data);
    if (!data)
        return FileDamage::unreadable(name(), QStringLiteral("it has no sound data"));
    readSound(*data);
    if (!mHoldsNoSound && lacksPacketTable())
        return FileDamage::unreadable(
            name(), QStringLiteral("its table of packets is missing or damaged, without which its sound (%1) "
                                   "cannot be taken apart")
                        .arg(encodingDescription()));
    readMarkerChunk();
    readMetadata();
    mLedger.addStructure({0, CafChunkList::fileHeaderLength});
    declareChunks();
    return std::nullopt;
}

MaybeError VLAFCoreAudioFile::readFormat()
{
    const CafChunk* const description = mChunks.find(CafChunkType::description);
    if (!description)
        return FileDamage::unreadable(name(), QStringLiteral("its format chunk is missing"));
    const QByteArray payload = readRawDataAtOffset(description->payloadOffset(), CafFormat::length);
    if (description->size < CafFormat::length || payload.size() < CafFormat::length)
        return FileDamage::unreadable(name(), QStringLiteral("its format chunk is cut short"));
    mFormat = CafFormat::ofPayload(payload);
    if (auto failure = mFormat.checked(name()))
        return failure;
    mLedger.addStructure({description->payloadOffset(), CafFormat::length});
    declareUnused(mLedger, *fileHandle(),
                  {description->payloadOffset() + CafFormat::length, description->size - CafFormat::length},
                  QStringLiteral("%1 bytes of the format chunk"));
    mOffsetsDeclared.push_back(description->offset);
    mSampleRate = mFormat.sampleRate;
    mDataFormat = mFormat.dataFormat();
    mNumberOfChannels = mFormat.numChannels;
    mIsFloat = mFormat.isFloat();
    mIsLittleEndian = mFormat.formatFlags & CafFormat::flagLittleEndian;
    if (mFormat.isLinearPcm())
        mBitsPerSample = 8 * mFormat.layout().bytesPerSample;
    if (mFormat.isLinearPcm() && !mIsFloat)
        declareSampleWidth(mFormat.bitsPerChannel, mBitsPerSample, mLedger);
    return std::nullopt;
}

/// Packets of many sizes or lengths are told apart by the table: for each its bytes, its frames, or both, in
/// numbers of seven bits a byte, all but the last of which have the highest bit set.
bool VLAFCoreAudioFile::lacksPacketTable() const
{
    const int numbersPerPacket =
        (mFormat.bytesPerPacket == 0 ? 1 : 0) + (mFormat.framesPerPacket == 0 ? 1 : 0);
    if (mFormat.isLinearPcm() || numbersPerPacket == 0)
        return false;
    constexpr int64_t headLength = 24;
    constexpr int64_t longestTable = int64_t{1} << 30;
    const CafChunk* const table = mChunks.find(CafChunkType::packetTable);
    if (!table || table->size < headLength)
        return true;
    const QByteArray payload =
        readRawDataAtOffset(table->payloadOffset(), std::min(table->size, longestTable));
    if (payload.size() < headLength)
        return true;
    const int64_t numNumbers = std::count_if(payload.begin() + headLength, payload.end(),
                                             [](char each) { return (each & 0x80) == 0; });
    return numNumbers / numbersPerPacket < qFromBigEndian<int64_t>(payload.constData());
}

void VLAFCoreAudioFile::readSound(const CafChunk& data)
{
    mSoundDataOffset = data.payloadOffset() + CafChunkList::editCountLength;
    mNumBytesOfSound = std::max<int64_t>(0, data.size - CafChunkList::editCountLength);
    const int64_t bytesPerPacket = mFormat.isLinearPcm()
                                       ? int64_t{mFormat.layout().bytesPerSample} * mNumberOfChannels
                                       : mFormat.bytesPerPacket;
    if (bytesPerPacket > 0)
        mNumberOfFrames = mNumBytesOfSound / bytesPerPacket * std::max(1U, mFormat.framesPerPacket);
    mHoldsNoSound = mNumBytesOfSound == 0;
    if (!data.isComplete)
        mWarnings.append(FileDamage::soundCutShort(name()));
    // The number of edits is of no use to anybody.
    mLedger.addStructure({data.payloadOffset(), std::min(CafChunkList::editCountLength, data.size)});
    const int64_t numBytesUsed =
        bytesPerPacket > 0 ? mNumBytesOfSound / bytesPerPacket * bytesPerPacket : mNumBytesOfSound;
    mLedger.addInModel({mSoundDataOffset, numBytesUsed});
    declareUnused(mLedger, *fileHandle(), {mSoundDataOffset + numBytesUsed, mNumBytesOfSound - numBytesUsed},
                  QStringLiteral("%1 bytes behind the last frame"));
    mOffsetsDeclared.push_back(data.offset);
}

/// The chunk is in the model from now on.
void VLAFCoreAudioFile::take(const CafChunk& chunk)
{
    mLedger.addInModel(chunk.payload());
    mOffsetsDeclared.push_back(chunk.offset);
    mModelOffsets.push_back(chunk.offset);
}

/// Of the first chunk of the type, which is taken; empty when it is missing or larger than any description.
QByteArray VLAFCoreAudioFile::payloadOf(FourCharCode type)
{
    const CafChunk* const chunk = mChunks.find(type);
    if (!chunk || chunk->size > largestKeptChunk)
        return {};
    take(*chunk);
    return readRawDataAtOffset(chunk->payloadOffset(), chunk->size);
}

void VLAFCoreAudioFile::readMarkerChunk()
{
    const CafChunk* const chunk = mChunks.find(CafChunkType::marker);
    const CafChunk* const strings = mChunks.find(CafChunkType::strings);
    if (!chunk && strings && canCarryOver(*strings)) {
        // Names of other things, beside which those of new markers will stand.
        mMarkList = CafMarkList({}, readRawDataAtOffset(strings->payloadOffset(), strings->size));
        mModelOffsets.push_back(strings->offset);
        mHasMarkers = true;
    }
    if (!chunk)
        return;
    const QByteArray positions = payloadOf(CafChunkType::marker);
    const QByteArray names = payloadOf(CafChunkType::strings);
    mMarkList = CafMarkList(positions, names);
    mHasMarkers = !positions.isEmpty();
    CafMarkers::Result result = CafMarkers::markersOfPayloads(positions, names);
    if (!result.isComplete || !chunk->isComplete) {
        logException(QStringLiteral("the chunks end before the last marker"));
        mWarnings.append(FileDamage::markersUnreadable(name()));
        mLedger.addNotKept(ItemKind::part, QStringLiteral("damaged markers (mark)"));
    }
    declareMarkers(result);
    mMarkers = std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(result.markers));
}

/// What stays where the chunks are edited.
void VLAFCoreAudioFile::declareMarkers(const CafMarkers::Result& result)
{
    const auto add = [this](ItemKind kind, const QString& name) {
        mLedger.add({kind, Keeping::asBytes, name, {}});
    };
    if (result.tellsMore)
        add(ItemKind::part, QStringLiteral("kinds, times and channels of markers (mark)"));
    if (result.hasOtherPositions)
        add(ItemKind::value,
            QStringLiteral("positions of markers between two frames or before the first move"));
    if (result.hasOtherNumbers)
        add(ItemKind::value, QStringLiteral("markers are numbered anew"));
    if (result.numOtherNames > 0)
        add(ItemKind::part, QStringLiteral("names of other things than markers (strg)"));
}

void VLAFCoreAudioFile::readMetadata()
{
    QStringList keysTwice;
    mInfo = payloadOf(CafChunkType::info);
    const MetadataDictionary dictionary = CafInfo::dictionaryOfPayload(mInfo, &keysTwice);
    mMetadata.setValuesWithDictionary(dictionary);
    // Where the chunk is edited, all of these stay until somebody changes them.
    FileLedger altered;
    ValueChanges::declare(dictionary, mMetadata, altered);
    for (const FileItem& item : altered.items())
        mLedger.add({item.kind, Keeping::asBytes, item.name, {}});
    const QStringList& known = AudioMetadata::dictionaryKeys();
    for (const QString& key : dictionary.keys()) {
        if (!known.contains(key))
            mLedger.add({ItemKind::tag, Keeping::asBytes, key, {}});
    }
    for (const QString& key : keysTwice)
        mLedger.add({ItemKind::tag, Keeping::asBytes, QStringLiteral("another %1").arg(key), {}});
}

void VLAFCoreAudioFile::declareChunks()
{
    int64_t end = CafChunkList::fileHeaderLength;
    for (const CafChunk& chunk : mChunks.chunks()) {
        mLedger.addStructure({chunk.offset, CafChunk::headerLength});
        const bool isDeclared = std::find(mOffsetsDeclared.begin(), mOffsetsDeclared.end(), chunk.offset) !=
                                mOffsetsDeclared.end();
        if (!isDeclared)
            declareCafChunk(chunk, *fileHandle(), canCarryOver(chunk) ? Keeping::asBytes : Keeping::notKept,
                            mLedger);
        end = chunk.end();
    }
    declareUnused(mLedger, *fileHandle(), {end, lengthOfFile() - end},
                  QStringLiteral("%1 bytes behind the last chunk"));
}

std::optional<LinearPcmLayout> VLAFCoreAudioFile::linearLayout() const
{
    return mFormat.isLinearPcm() ? std::optional(mFormat.layout()) : std::nullopt;
}

void VLAFCoreAudioFile::adjustDecoder(VLAudioFileDecompressor& decoder) const
{
    decoder.setExactSampleRate(mSampleRate);
}

} // namespace velloria
