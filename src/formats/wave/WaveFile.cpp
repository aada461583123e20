#include "formats/wave/WaveFile.h"

#include "formats/chunks/ChunkNames.h"
#include "formats/decoding/FileDamage.h"
#include "formats/tags/Id3Intake.h"
#include "formats/tags/Id3Writer.h"
#include "formats/wave/WaveChunkNames.h"
#include "formats/wave/WaveMarkers.h"
#include "platform/Log.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace velloria
{

namespace
{

constexpr FourCharCode riffIdent = fourCharCode("RIFF");
constexpr FourCharCode formatIdent = fourCharCode("fmt ");
constexpr FourCharCode dataIdent = fourCharCode("data");
constexpr FourCharCode markerIdent = fourCharCode("MARK");
constexpr FourCharCode tagIdent = fourCharCode("ID3 ");
constexpr FourCharCode lowerCaseTagIdent = fourCharCode("id3 ");

constexpr int64_t riffHeaderLength = 12;
constexpr int64_t largestFile = 0xFFFFFFFF;
constexpr int64_t unknownSize = 0xFFFFFFFF;
// Formats without a field for the bits per sample end before it.
constexpr qsizetype shortestFormatPayload = 14;
constexpr int64_t longestFormatPayload = 256;
// Chunks beyond this size are no descriptions of a recording.
constexpr int64_t largestKeptChunk = int64_t{64} << 20;
constexpr uint32_t widestSample = 32;
constexpr uint32_t largestFrame = 65535;

constexpr std::array broadcastWaveIdents = {
    fourCharCode("bext"), fourCharCode("iXML"), fourCharCode("qlty"), fourCharCode("mext"),
    fourCharCode("levl"), fourCharCode("link"), fourCharCode("axml"),
};

FourCharCode identAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray bytes = handle.readAt(offset, 4);
    return bytes.size() == 4 ? qFromBigEndian<quint32>(bytes.constData()) : 0;
}

QByteArray chunkWithPayload(FourCharCode ident, const QByteArray& payload)
{
    return riffChunkHeader(ident, payload.size()) + payload;
}

void logException(const char* method, const QString& reason)
{
    logLine(QStringLiteral("Exception raised in -[WaveFile %1]: %2").arg(QLatin1String(method), reason));
}

} // namespace

WaveFile::WaveFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
    , mOffsetEncoding(sampleSize < 9)
{
    mIsLittleEndian = true;
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

WaveFile::WaveFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mIsLittleEndian = true;
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

bool WaveFile::validateFileHeader(const FileHandle& handle)
{
    return identAt(handle, 0) == riffIdent && identAt(handle, 8) == fourCharCode("WAVE");
}

std::shared_ptr<AudioFile> WaveFile::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    const bool isWave = validateFileHeader(*handle);
    const std::shared_ptr<WaveFile> file(new WaveFile(std::move(handle)));
    const MaybeError failure = file->readHeader();
    if (!failure)
        return file;
    logLine(QStringLiteral("Wave file header is invalid."));
    // Anything else than RIFF WAVE may be of another type.
    if (isWave && error)
        *error = failure;
    return nullptr;
}

QString WaveFile::fileFormatUTI() const
{
    return QStringLiteral("com.microsoft.waveform-audio");
}

QString WaveFile::encodingDescription() const
{
    return mChunks.chunks().empty() ? AudioFile::encodingDescription() : mFormat.description();
}

QString WaveFile::name() const
{
    return displayName(filePath());
}

MaybeError WaveFile::readHeader()
{
    const auto damaged = [this](const QString& why) { return FileDamage::unreadable(name(), why); };
    if (identAt(*fileHandle(), 0) != riffIdent)
        return damaged(QStringLiteral("it is not a RIFF file"));
    mChunks = RiffChunkList::ofFile(*fileHandle(), riffHeaderLength, lengthOfFile());
    const RiffChunk* const format = mChunks.find(formatIdent);
    if (!format)
        return damaged(QStringLiteral("its format chunk is missing"));
    const QByteArray payload =
        readRawDataAtOffset(format->payloadOffset(), std::min(format->size, longestFormatPayload));
    if (payload.size() < shortestFormatPayload)
        return damaged(QStringLiteral("its format chunk is cut short"));
    mFormat = WaveFormat::ofPayload(payload);
    if (auto failure = mFormat.checked(name()))
        return failure;
    const RiffChunk* const data = mChunks.find(dataIdent);
    if (!data)
        return damaged(QStringLiteral("it has no sound data"));

    mNumberOfChannels = mFormat.numChannels;
    mSampleRate = mFormat.sampleRate;
    mDataFormat = mFormat.dataFormat();
    mSoundDataOffset = data->payloadOffset();
    if (mFormat.isPCM()) {
        mOffsetEncoding = mFormat.isOffsetEncoded();
        mBitsPerSample = mFormat.containerBits();
    } else {
        mRequiresConversion = true;
        mIsFloat = mFormat.isFloat();
        // A codec's bits per sample tell nothing of the samples that it decodes to.
        if (mFormat.isLinear() && mFormat.bitsPerSample > 0)
            mBitsPerSample = mFormat.bitsPerSample;
        logLine(QStringLiteral("WAV file is not PCM and requires conversion."));
    }
    readSoundDataChunk(*data);
    readMarkerChunk();
    readMetadata();
    readBroadcastWaveFileChunks();
    listChunksNotKept();
    return std::nullopt;
}

/// A recorder that was stopped in the middle leaves the sizes that it wrote at the start: 0, or all ones. The
/// sound then goes on to the end of the file.
bool WaveFile::wasNeverCompleted(const RiffChunk& data) const
{
    if (data.size == unknownSize)
        return true;
    const bool hasMore = lengthOfFile() >= data.payloadOffset() + RiffChunk::headerLength;
    return data.size == 0 && hasMore && !RiffChunkList::isHeaderLikelyAt(*fileHandle(), data.payloadOffset());
}

void WaveFile::readSoundDataChunk(const RiffChunk& data)
{
    int64_t numBytes = std::min(data.size, lengthOfFile() - data.payloadOffset());
    if (wasNeverCompleted(data)) {
        numBytes = lengthOfFile() - data.payloadOffset();
        mWarnings.append(FileDamage::headerNeverCompleted(name()));
    } else if (!data.isComplete) {
        mWarnings.append(FileDamage::soundCutShort(name()));
    }
    if (mFormat.isPCM())
        mNumberOfFrames = numBytes / frameSize();
    else
        mHoldsNoSound = numBytes <= 0;
}

QByteArray WaveFile::payloadOf(const RiffChunk& chunk) const
{
    return readRawDataAtOffset(chunk.payloadOffset(), chunk.size);
}

void WaveFile::readMarkerChunk()
{
    const RiffChunk* const chunk = mChunks.find(markerIdent);
    if (!chunk || chunk->size > largestKeptChunk)
        return;
    WaveMarkers::Result result = WaveMarkers::markersOfPayload(payloadOf(*chunk));
    mOffsetsOfKeptChunks.push_back(chunk->offset);
    if (!result.isComplete) {
        logException("readMarkerChunk", QStringLiteral("the chunk ends before its last marker"));
        mWarnings.append(FileDamage::markersUnreadable(name()));
    }
    mMarkers = std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(result.markers));
}

const RiffChunk* WaveFile::metadataChunkFound() const
{
    const RiffChunk* const chunk = mChunks.find(tagIdent);
    return chunk ? chunk : mChunks.find(lowerCaseTagIdent);
}

void WaveFile::readMetadata()
{
    const RiffChunk* const chunk = metadataChunkFound();
    if (!chunk || chunk->size == 0)
        return;
    const auto tagLedger = chunk->isComplete ? takeInId3Tag(payloadOf(*chunk), mMetadata) : std::nullopt;
    if (!tagLedger) {
        logException("readMetadata", QStringLiteral("the chunk holds no complete ID3v2 tag"));
        mWarnings.append(FileDamage::tagsUnreadable(name()));
        return;
    }
    mOffsetsOfKeptChunks.push_back(chunk->offset);
    mLedger.addNested(*tagLedger, chunk->payloadOffset());
}

void WaveFile::readBroadcastWaveFileChunks()
{
    QList<QByteArray> chunks;
    for (const FourCharCode ident : broadcastWaveIdents) {
        const RiffChunk* const chunk = mChunks.find(ident);
        if (!chunk || !chunk->isComplete || chunk->size > largestKeptChunk)
            continue;
        chunks.append(readRawDataAtOffset(chunk->offset, RiffChunk::headerLength + chunk->size));
        mOffsetsOfKeptChunks.push_back(chunk->offset);
    }
    if (!chunks.isEmpty())
        mMetadata.setWaveBWFChunks(chunks);
}

void WaveFile::listChunksNotKept()
{
    const RiffChunk* const format = mChunks.find(formatIdent);
    const RiffChunk* const data = mChunks.find(dataIdent);
    for (const RiffChunk& chunk : mChunks.chunks()) {
        const bool isKept = std::find(mOffsetsOfKeptChunks.begin(), mOffsetsOfKeptChunks.end(),
                                      chunk.offset) != mOffsetsOfKeptChunks.end();
        if (&chunk == format || &chunk == data || isKept || isDispensableWaveChunk(chunk, *fileHandle()))
            continue;
        mLedger.addNotKept(ItemKind::part, nameOfWaveChunk(chunk, *fileHandle()));
    }
}

int64_t WaveFile::readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const
{
    const int64_t numRead = AudioFile::readAudioDataAtOffset(offset, out);
    convertTwosComplementData(out.first(static_cast<size_t>(numRead)));
    return numRead;
}

MaybeError WaveFile::writeAudioData(std::span<std::byte> data, int64_t offset)
{
    convertTwosComplementData(data);
    return AudioFile::writeAudioData(data, offset);
}

/// Turns signed samples into unsigned ones and back.
void WaveFile::convertTwosComplementData(std::span<std::byte> data) const
{
    if (!mOffsetEncoding)
        return;
    const auto stride = static_cast<size_t>(std::max<int64_t>(1, sampleSizeInBytes()));
    size_t i = 0;
    if (stride == 1) {
        constexpr uint64_t topBits = 0x8080808080808080;
        for (; i + sizeof(uint64_t) <= data.size(); i += sizeof(uint64_t)) {
            uint64_t word;
            std::memcpy(&word, data.data() + i, sizeof word);
            word ^= topBits;
            std::memcpy(data.data() + i, &word, sizeof word);
        }
    }
    for (; i < data.size(); i += stride)
        data[i] ^= std::byte{0x80};
}

bool WaveFile::canSavePicture(const AttachedPicture& picture) const
{
    return canBeId3Picture(picture);
}

void WaveFile::validateAndCorrectParameters()
{
    AudioFile::validateAndCorrectParameters();
    // Wider integers (offered to a document of 64-bit floats) could only be written as zeros.
    mBitsPerSample = std::min(mBitsPerSample, widestSample);
}

uint32_t WaveFile::maximumNumberOfChannels() const
{
    return largestFrame / static_cast<uint32_t>(std::max<int64_t>(1, sampleSizeInBytes()));
}

int64_t WaveFile::largestMarkerName() const
{
    return WaveMarkers::longestName;
}

int64_t WaveFile::maximumNumberOfMarkers() const
{
    return WaveMarkers::mostMarkers;
}

WaveFormat WaveFile::formatToWrite() const
{
    WaveFormat format;
    format.numChannels = static_cast<uint16_t>(mNumberOfChannels);
    format.sampleRate = static_cast<uint32_t>(std::clamp(std::round(mSampleRate), 0.0, 4294967295.0));
    format.blockAlign = static_cast<uint16_t>(frameSize());
    format.bitsPerSample = static_cast<uint16_t>(mBitsPerSample);
    return format;
}

bool WaveFile::writeHeader(MaybeError* error)
{
    mOffsetEncoding = mBitsPerSample < 9;
    const QByteArray format = chunkWithPayload(formatIdent, formatToWrite().payload());
    mSoundDataOffset = riffHeaderLength + format.size() + RiffChunk::headerLength;
    const int64_t numBytes = frameSize() * mNumberOfFrames;
    if (lengthWithFooter() > largestFile)
        return false;

    int64_t offset = riffHeaderLength;
    MaybeError failure = writeContainerChunk();
    if (!failure)
        failure = writeChunk(format, &offset);
    if (!failure)
        failure = writeRawData(riffChunkHeader(dataIdent, numBytes), offset);
    if (failure && error)
        *error = failure;
    return !failure;
}

/// Sizes of the RIFF and data chunks are 32-bit numbers, so this bounds the whole file.
int64_t WaveFile::lengthWithFooter() const
{
    // Compared by division: the product of absurd numbers need not fit 64 bits.
    if (mNumberOfFrames > largestFile / std::max<int64_t>(1, frameSize()))
        return largestFile + 1;
    int64_t length = mSoundDataOffset + frameSize() * mNumberOfFrames;
    for (const QByteArray& chunk : footerChunks())
        length += chunk.size() + (length + chunk.size()) % 2;
    return length;
}

std::vector<QByteArray> WaveFile::footerChunks() const
{
    std::vector<QByteArray> chunks;
    if (mMarkers && !mMarkers->empty())
        chunks.push_back(chunkWithPayload(markerIdent, WaveMarkers::payloadOfMarkers(*mMarkers)));
    if (mMetadata.isNotEmpty()) {
        if (const QByteArray tag = mMetadata.id3Data(); !tag.isEmpty())
            chunks.push_back(chunkWithPayload(tagIdent, tag));
    }
    for (const QByteArray& chunk : mMetadata.waveBWFChunks())
        chunks.push_back(chunk);
    return chunks;
}

MaybeError WaveFile::writeFooter()
{
    int64_t offset = lengthOfFile();
    for (const QByteArray& chunk : footerChunks()) {
        if (auto error = writeChunk(chunk, &offset))
            return error;
    }
    return writeContainerChunk();
}

MaybeError WaveFile::writeContainerChunk()
{
    const int64_t size = lengthOfFile() - RiffChunk::headerLength;
    return writeRawData(riffChunkHeader(riffIdent, size) + QByteArrayLiteral("WAVE"), 0);
}

/// Pads so that the chunk ends at an even offset; `offset` moves behind it.
MaybeError WaveFile::writeChunk(const QByteArray& chunk, int64_t* offset)
{
    QByteArray bytes = chunk;
    if ((*offset + bytes.size()) % 2 != 0)
        bytes.append('\0');
    MaybeError error = writeRawData(bytes, *offset);
    *offset += bytes.size();
    return error;
}

void WaveFile::logAllChunks() const
{
    if (identAt(*fileHandle(), 0) != riffIdent) {
        logLine(QStringLiteral("Wave file header is invalid."));
        return;
    }
    const QByteArray riffSize = readRawDataAtOffset(4, 4);
    logLine(QStringLiteral("==== File: %1 =====").arg(displayPath(filePath())));
    logLine(QStringLiteral("File size %1").arg(lengthOfFile()));
    logLine(QStringLiteral("RIFF size %1")
                .arg(riffSize.size() == 4 ? qFromLittleEndian<quint32>(riffSize.data()) : 0));
    for (const RiffChunk& chunk : mChunks.chunks())
        logLine(QStringLiteral("    %1 size %2")
                    .arg(QString::fromLatin1(fourCharText(chunk.ident)))
                    .arg(chunk.size));
    logLine(QStringLiteral("==== End of WAV File ====="));
}

} // namespace velloria
