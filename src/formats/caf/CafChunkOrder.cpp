// Which chunks a CAF file gets, and in which order: those of the file that was opened, as they stand there.
#include "formats/caf/CafInfo.h"
#include "formats/caf/CafPeaks.h"
#include "formats/caf/VLAFCoreAudioFile.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "platform/MissedReads.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// Chunks beyond this size are no descriptions of a recording.
constexpr int64_t largestKeptChunk = int64_t{64} << 20;

// What is made for each file by itself.
constexpr std::array structureTypes = {CafChunkType::description, CafChunkType::data,
                                       CafChunkType::packetTable, CafChunkType::cookie};
// What counts frames of the sound.
constexpr FourCharCode regionType = fourCharCode("regn");
constexpr FourCharCode overviewType = fourCharCode("ovvw");
constexpr FourCharCode peakType = fourCharCode("peak");
constexpr FourCharCode layoutType = fourCharCode("chan");

QByteArray chunkOf(FourCharCode type, const QByteArray& payload)
{
    BigEndianOutputStream stream;
    stream.writeCafChunk(type, payload);
    return stream.data();
}

} // namespace

/// The file whose chunks this one gets; null for a new file.
const VLAFCoreAudioFile* VLAFCoreAudioFile::editedFile() const
{
    const auto* const opened = dynamic_cast<const VLAFCoreAudioFile*>(openedFile().get());
    return opened && !opened->mChunks.chunks().empty() ? opened : nullptr;
}

const std::vector<AudioMarkerPtr>& VLAFCoreAudioFile::markersNow() const
{
    static const std::vector<AudioMarkerPtr> none;
    return mMarkers ? *mMarkers : none;
}

bool VLAFCoreAudioFile::canCarryOver(const CafChunk& chunk)
{
    return chunk.isComplete && !chunk.isOpenEnded && chunk.size <= largestKeptChunk &&
           std::ranges::find(structureTypes, chunk.type) == structureTypes.end();
}

/// Whether a chunk of the edited file that is not in the model stays, as it is or, for peaks, made anew.
bool VLAFCoreAudioFile::carriesOver(const VLAFCoreAudioFile& edited, const CafChunk& chunk) const
{
    if (!canCarryOver(chunk))
        return false;
    if (chunk.type == overviewType)
        return keptSound() != nullptr;
    if (chunk.type == peakType)
        return keptSound() || !isIma4();
    if (chunk.type == layoutType)
        return mNumberOfChannels == edited.mNumberOfChannels;
    return chunk.type != regionType ||
           (mNumberOfFrames == edited.mNumberOfFrames && mSampleRate == edited.mSampleRate);
}

QByteArray VLAFCoreAudioFile::infoToWrite() const
{
    const VLAFCoreAudioFile* const edited = editedFile();
    if (!edited || edited->mInfo.isEmpty())
        return CafInfo::payloadOfDictionary(mMetadata.dictionary());
    return CafInfo::editedPayload(edited->mInfo, edited->metadata().dictionary(), mMetadata.dictionary());
}

CafMarkList::Payloads VLAFCoreAudioFile::markersToWrite() const
{
    const VLAFCoreAudioFile* const edited = editedFile();
    if (edited && edited->mHasMarkers)
        return edited->mMarkList.edited(markersNow());
    if (markersNow().empty())
        return {};
    return {CafMarkers::markerPayload(markersNow()), CafMarkers::stringsPayload(markersNow())};
}

/// Programs that find another count of edits beside the sound than beside an overview know that it is old.
uint32_t VLAFCoreAudioFile::editCount() const
{
    const VLAFCoreAudioFile* const edited = editedFile();
    const QByteArray count =
        edited && edited->mSoundDataOffset >= CafChunkList::editCountLength
            ? edited->readRawDataAtOffset(edited->mSoundDataOffset - CafChunkList::editCountLength,
                                          CafChunkList::editCountLength)
            : QByteArray();
    if (count.size() < CafChunkList::editCountLength)
        return 0;
    return qFromBigEndian<quint32>(count.constData()) + (keptSound() ? 0 : 1);
}

/// Of the chunks that the model has, in the order in which a new file has them.
std::vector<VLAFCoreAudioFile::ModelChunk> VLAFCoreAudioFile::modelChunks() const
{
    std::vector<ModelChunk> made = {{CafChunkType::description, formatToWrite().payload()}};
    const CafMarkList::Payloads markers = markersToWrite();
    if (!markers.markers.isEmpty())
        made.push_back({CafChunkType::marker, markers.markers});
    if (!markers.strings.isEmpty())
        made.push_back({CafChunkType::strings, markers.strings});
    if (formatToWrite().framesPerPacket > 1)
        made.push_back({CafChunkType::packetTable, packetTablePayload()});
    return made;
}

VLAFCoreAudioFile::ChunkPlan VLAFCoreAudioFile::chunkPlan() const
{
    ChunkPlan plan;
    std::vector<ModelChunk> made = modelChunks();
    const QByteArray info = infoToWrite();
    if (!info.isEmpty())
        made.push_back({CafChunkType::info, info});
    const VLAFCoreAudioFile* const edited = editedFile();
    std::vector<ChunkToWrite>* place = &plan.inFront;
    // Where there is one.
    const auto put = [&](FourCharCode type, std::vector<ChunkToWrite>& chunks) {
        const auto found = std::ranges::find(made, type, &ModelChunk::type);
        if (found == made.end())
            return;
        chunks.push_back({chunkOf(type, found->payload), {}});
        made.erase(found);
    };
    for (const CafChunk& chunk : edited ? edited->mChunks.chunks() : std::vector<CafChunk>()) {
        const bool isFirst = edited->mChunks.find(chunk.type)->offset == chunk.offset;
        if (isFirst && chunk.type == CafChunkType::data)
            place = &plan.behind;
        else if (isFirst && edited->isModelChunk(chunk))
            put(chunk.type, *place);
        else if (chunk.type == peakType && !keptSound() && carriesOver(*edited, chunk))
            place->push_back({chunkOf(peakType, CafPeaks::emptyPayload(mNumberOfChannels)), {}});
        else if (carriesOver(*edited, chunk))
            place->push_back({{}, {chunk.offset, CafChunk::headerLength + chunk.size}});
    }
    for (const FourCharCode type :
         {CafChunkType::description, CafChunkType::marker, CafChunkType::strings, CafChunkType::packetTable})
        put(type, plan.inFront);
    // The last one, since programs that misread its count look for entries up to the end of the file.
    put(CafChunkType::info, plan.behind);
    return plan;
}

/// Whether the model was read from it, or it follows from the format.
bool VLAFCoreAudioFile::isModelChunk(const CafChunk& chunk) const
{
    return chunk.type == CafChunkType::description || chunk.type == CafChunkType::packetTable ||
           std::ranges::find(mModelOffsets, chunk.offset) != mModelOffsets.end();
}

int64_t VLAFCoreAudioFile::lengthOf(const std::vector<ChunkToWrite>& chunks)
{
    int64_t length = 0;
    for (const ChunkToWrite& chunk : chunks)
        length += chunk.bytes.isEmpty() ? chunk.source.length : chunk.bytes.size();
    return length;
}

MaybeError VLAFCoreAudioFile::writeChunks(const std::vector<ChunkToWrite>& chunks, int64_t* offset)
{
    for (const ChunkToWrite& chunk : chunks) {
        QByteArray bytes = chunk.bytes;
        if (bytes.isEmpty()) {
            const FileHandle& source = *openedFile()->fileHandle();
            bytes = source.readAt(chunk.source.offset, chunk.source.length);
            if (bytes.size() != chunk.source.length)
                return missedReadsError(source);
        } else if (bytes.startsWith("peak")) {
            mPeakOffset = *offset + CafChunk::headerLength;
        }
        if (MaybeError error = writeRawData(bytes, *offset))
            return error;
        *offset += bytes.size();
    }
    return std::nullopt;
}

/// When all samples are there.
MaybeError VLAFCoreAudioFile::writePeaks()
{
    if (mPeakOffset == 0 || !mFileHandle)
        return std::nullopt;
    const QByteArray payload =
        CafPeaks::payload(*mFileHandle, {formatToWrite().layout(), mSoundDataOffset, soundDataLength()},
                          mNumberOfChannels, editCount());
    return writeRawData(payload, mPeakOffset);
}

MetadataDictionary VLAFCoreAudioFile::writtenTags() const
{
    AudioMetadata found;
    found.setValuesWithDictionary(CafInfo::dictionaryOfPayload(infoToWrite()));
    return found.dictionary();
}

bool VLAFCoreAudioFile::willWrite(const FileItem& item) const
{
    const VLAFCoreAudioFile* const edited = editedFile();
    if (item.keeping != Keeping::asBytes || !edited)
        return AudioFile::willWrite(item);
    if (item.bytes.length == 0)
        return true;
    return std::ranges::any_of(edited->mChunks.chunks(), [&](const CafChunk& chunk) {
        const bool isInside = item.bytes.offset >= chunk.payloadOffset() && item.bytes.offset < chunk.end();
        return isInside && (edited->isModelChunk(chunk) || carriesOver(*edited, chunk));
    });
}

/// The next save edits what was written.
void VLAFCoreAudioFile::takeOverLedger()
{
    AudioFile::takeOverLedger();
    const auto written =
        mFileHandle ? std::dynamic_pointer_cast<VLAFCoreAudioFile>(open(mFileHandle, nullptr)) : nullptr;
    if (!written)
        return;
    mLedger = written->mLedger;
    mChunks = written->mChunks;
    mFormat = written->mFormat;
    mNumBytesOfSound = written->mNumBytesOfSound;
    mInfo = written->mInfo;
    mHasMarkers = written->mHasMarkers;
    mMarkList = written->mMarkList;
    mMarkList.takeIdentsOf(markersNow());
    mModelOffsets = written->mModelOffsets;
}

} // namespace velloria
