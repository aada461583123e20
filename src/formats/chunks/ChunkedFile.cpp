#include "formats/chunks/ChunkedFile.h"

#include "formats/chunks/UnusedBytes.h"
#include "formats/decoding/FileDamage.h"
#include "formats/file/Id3SoundChange.h"
#include "formats/tagediting/Id3Intake.h"
#include "platform/Log.h"
#include "platform/MissedReads.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr uint32_t widestSample = 32;

void logException(const char* className, const char* method, const char* reason)
{
    logLine(QStringLiteral("Exception raised in -[%1 %2]: %3")
                .arg(QLatin1String(className), QLatin1String(method), QLatin1String(reason)));
}

} // namespace

ChunkedFile::ChunkedFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

ChunkedFile::ChunkedFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

bool ChunkedFile::canSavePicture(const AttachedPicture& picture) const
{
    return id3Save().canHold(picture);
}

MetadataDictionary ChunkedFile::writtenTags() const
{
    return id3Save().tagsReadBack();
}

bool ChunkedFile::willWrite(const FileItem& item) const
{
    return item.keeping == Keeping::withTag ? openedWithTag() && id3Save().keeps(item)
                                            : AudioFile::willWrite(item);
}

/// What was saved is what the next save edits.
void ChunkedFile::takeOverLedger()
{
    const ChunkedFile* const opened = openedWithTag();
    const FourCharCode ident = opened ? opened->mId3Ident : mId3Ident;
    mId3Tag = id3Save().tag();
    mId3Ident = ident;
    AudioFile::takeOverLedger();
}

/// The opened file, where it has a tag that this one keeps.
const ChunkedFile* ChunkedFile::openedWithTag() const
{
    const auto* const opened = dynamic_cast<const ChunkedFile*>(openedFile().get());
    const bool holdsTag = opened && !opened->mId3Tag.isEmpty();
    return holdsTag && sharesTagWith(*opened) ? opened : nullptr;
}

bool ChunkedFile::sharesTagWith(const ChunkedFile& opened) const
{
    return opened.fileFormatUTI() == fileFormatUTI();
}

Id3Save ChunkedFile::id3Save() const
{
    const ChunkedFile* const opened = openedWithTag();
    return opened ? Id3Save(opened->mId3Tag, opened->metadata(), mMetadata, id3SoundChange(*opened, *this))
                  : Id3Save(mMetadata);
}

QByteArray ChunkedFile::id3Chunk(ChunkByteOrder byteOrder) const
{
    const QByteArray tag = id3Save().tag();
    if (tag.isEmpty())
        return {};
    const ChunkedFile* const opened = openedWithTag();
    return riffChunkHeader(opened ? opened->mId3Ident : mId3Ident, tag.size(), byteOrder) + tag;
}

void ChunkedFile::validateAndCorrectParameters()
{
    AudioFile::validateAndCorrectParameters();
    // Wider integers (offered to a document of 64-bit floats) could only be written as zeros.
    mBitsPerSample = std::min(mBitsPerSample, widestSample);
}

QStringList ChunkedFile::soundLosses() const
{
    return id3Save().displayLosses(tagsBefore());
}

QString ChunkedFile::name() const
{
    return displayName(filePath());
}

int64_t ChunkedFile::ChunkToWrite::length() const
{
    const int64_t size = bytes.isEmpty() ? source.length : bytes.size();
    return size + (isPadded ? size % 2 : 0);
}

int64_t ChunkedFile::lengthOf(const std::vector<ChunkToWrite>& chunks)
{
    int64_t length = 0;
    for (const ChunkToWrite& chunk : chunks)
        length += chunk.length();
    return length;
}

MaybeError ChunkedFile::writeChunks(const std::vector<ChunkToWrite>& chunks, int64_t* offset)
{
    for (const ChunkToWrite& chunk : chunks) {
        QByteArray bytes = chunk.bytes;
        if (bytes.isEmpty() && chunk.source.length > 0) {
            const FileHandle& source = *openedFile()->fileHandle();
            bytes = source.readAt(chunk.source.offset, chunk.source.length);
            if (bytes.size() != chunk.source.length)
                return missedReadsError(source);
        }
        bytes += QByteArray(chunk.length() - bytes.size(), '\0');
        if (MaybeError error = writeRawData(bytes, *offset))
            return error;
        *offset += bytes.size();
    }
    return std::nullopt;
}

QByteArray ChunkedFile::payloadOf(const RiffChunk& chunk) const
{
    return readRawDataAtOffset(chunk.payloadOffset(), chunk.size);
}

ByteRange ChunkedFile::payloadRangeOf(const RiffChunk& chunk) const
{
    const int64_t end = std::min(chunk.end(), lengthOfFile());
    return {chunk.payloadOffset(), std::max<int64_t>(0, end - chunk.payloadOffset())};
}

const RiffChunk* ChunkedFile::takeChunk(FourCharCode ident)
{
    const RiffChunk* const chunk = mChunks.find(ident);
    if (!chunk || !chunk->isComplete || chunk->size > largestKeptChunk)
        return nullptr;
    mLedger.addInModel(payloadRangeOf(*chunk));
    markDeclared(*chunk);
    return chunk;
}

void ChunkedFile::declareSound(const RiffChunk& chunk, ByteRange sound, int64_t headerLength)
{
    const ByteRange payload = payloadRangeOf(chunk);
    const int64_t headerEnd = payload.offset + std::min(headerLength, payload.length);
    const int64_t start = std::clamp(sound.offset, headerEnd, payload.end());
    const int64_t end = std::clamp(sound.end(), start, payload.end());
    mLedger.addStructure({payload.offset, headerEnd - payload.offset});
    declareUnused(mLedger, *fileHandle(), {headerEnd, start - headerEnd},
                  QStringLiteral("%1 bytes in front of the sound"));
    mLedger.addInModel({start, end - start});
    declareUnused(mLedger, *fileHandle(), {end, payload.end() - end},
                  QStringLiteral("%1 bytes behind the last frame"));
    markDeclared(chunk);
}

void ChunkedFile::declareChunks()
{
    const int64_t length = lengthOfFile();
    int64_t end = 0;
    for (const RiffChunk& chunk : mChunks.chunks()) {
        // A pad byte stands between two chunks, or nothing.
        if (end > 0)
            mLedger.addStructure({end, chunk.offset - end});
        mLedger.addStructure({chunk.offset, RiffChunk::headerLength});
        const bool isDeclared = std::find(mOffsetsDeclared.begin(), mOffsetsDeclared.end(), chunk.offset) !=
                                mOffsetsDeclared.end();
        if (!isDeclared)
            declareOtherChunk(chunk);
        end = std::min(chunk.end(), length);
    }
    const bool hasPadByte = !mChunks.chunks().empty() && mChunks.chunks().back().size % 2 != 0;
    if (hasPadByte && end < length)
        mLedger.addStructure({end++, 1});
    declareUnused(mLedger, *fileHandle(), {end, length - end},
                  QStringLiteral("%1 bytes behind the last chunk"));
}

void ChunkedFile::readId3Chunk(const RiffChunk& chunk, const char* className)
{
    if (chunk.size == 0)
        return;
    const auto tagLedger = chunk.isComplete ? takeInId3Tag(payloadOf(chunk), mMetadata) : std::nullopt;
    if (!tagLedger) {
        logException(className, "readMetadata", "the chunk holds no complete ID3v2 tag");
        mWarnings.append(FileDamage::tagsUnreadable(name()));
        return;
    }
    mId3Tag = payloadOf(chunk);
    mId3Ident = chunk.ident;
    mLedger.addNested(*tagLedger, chunk.payloadOffset());
    markDeclared(chunk);
}

void ChunkedFile::tellOfDamagedMarkers(const RiffChunk& chunk, const char* className)
{
    logException(className, "readMarkerChunk", "the chunk ends before its last marker");
    mWarnings.append(FileDamage::markersUnreadable(name()));
    mLedger.addNotKept(
        ItemKind::part,
        QStringLiteral("damaged markers (%1)").arg(QString::fromLatin1(fourCharText(chunk.ident))));
}

} // namespace velloria
