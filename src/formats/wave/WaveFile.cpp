#include "formats/wave/WaveFile.h"

#include "formats/chunks/UnusedBytes.h"
#include "formats/decoding/FileDamage.h"
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
constexpr int64_t unknownSize = 0xFFFFFFFF;
// Formats without a field for the bits per sample end before it.
constexpr qsizetype shortestFormatPayload = 14;
constexpr int64_t longestFormatPayload = 256;
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

} // namespace

WaveFile::WaveFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : ChunkedFile(sampleRate, sampleSize, numChannels)
    , mOffsetEncoding(sampleSize < 9)
{
    mIsLittleEndian = true;
}

WaveFile::WaveFile(std::shared_ptr<FileHandle> handle)
    : ChunkedFile(std::move(handle))
{
    mIsLittleEndian = true;
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
    return chunks().chunks().empty() ? AudioFile::encodingDescription() : mFormat.description();
}

MaybeError WaveFile::readHeader()
{
    if (identAt(*fileHandle(), 0) != riffIdent)
        return FileDamage::unreadable(name(), QStringLiteral("it is not a RIFF file"));
    const QByteArray riffSize = readRawDataAtOffset(4, 4);
    const int64_t formEnd = RiffChunk::headerLength +
                            (riffSize.size() == 4 ? qFromLittleEndian<quint32>(riffSize.constData()) : 0);
    mLedger.addStructure({0, riffHeaderLength});
    setChunks(RiffChunkList::ofFile(*fileHandle(), riffHeaderLength, lengthOfFile(),
                                    RiffChunkList::mostChunksOfFile, ChunkByteOrder::littleEndian, formEnd));
    if (auto failure = readFormat())
        return failure;
    if (!chunks().find(dataIdent))
        return FileDamage::unreadable(name(), QStringLiteral("it has no sound data"));
    readSoundDataChunk();
    readMarkerChunk();
    readMetadata();
    readBroadcastWaveFileChunks();
    declareFormat();
    declareChunks();
    return std::nullopt;
}

MaybeError WaveFile::readFormat()
{
    const auto damaged = [this](const QString& why) { return FileDamage::unreadable(name(), why); };
    const RiffChunk* const format = chunks().find(formatIdent);
    if (!format)
        return damaged(QStringLiteral("its format chunk is missing"));
    const QByteArray payload =
        readRawDataAtOffset(format->payloadOffset(), std::min(format->size, longestFormatPayload));
    if (payload.size() < shortestFormatPayload)
        return damaged(QStringLiteral("its format chunk is cut short"));
    mFormat = WaveFormat::ofPayload(payload);
    if (auto failure = mFormat.checked(name()))
        return failure;
    mNumberOfChannels = mFormat.numChannels;
    mSampleRate = mFormat.sampleRate;
    mDataFormat = mFormat.dataFormat();
    if (mFormat.isPCM()) {
        mOffsetEncoding = mFormat.isOffsetEncoded();
        mBitsPerSample = mFormat.containerBits();
        return std::nullopt;
    }
    mRequiresConversion = true;
    mIsFloat = mFormat.isFloat();
    // A codec's bits per sample tell nothing of the samples that it decodes to.
    if (mFormat.isLinear() && mFormat.bitsPerSample > 0)
        mBitsPerSample = mFormat.bitsPerSample;
    logLine(QStringLiteral("WAV file is not PCM and requires conversion."));
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

void WaveFile::readSoundDataChunk()
{
    const RiffChunk* data = chunks().find(dataIdent);
    if (wasNeverCompleted(*data)) {
        openUpChunk(dataIdent);
        mWarnings.append(FileDamage::headerNeverCompleted(name()));
    } else if (!data->isComplete) {
        mWarnings.append(FileDamage::soundCutShort(name()));
    }
    mSoundDataOffset = data->payloadOffset();
    ByteRange sound = payloadRangeOf(*data);
    if (mFormat.isPCM()) {
        mNumberOfFrames = sound.length / frameSize();
        sound.length = mNumberOfFrames * frameSize();
    } else {
        mHoldsNoSound = sound.length == 0;
    }
    declareSound(*data, sound);
}

void WaveFile::readMarkerChunk()
{
    const RiffChunk* const chunk = chunks().find(markerIdent);
    if (!chunk || chunk->size > largestKeptChunk)
        return;
    WaveMarkers::Result result = WaveMarkers::markersOfPayload(payloadOf(*chunk));
    mLedger.addInModel(payloadRangeOf(*chunk));
    markDeclared(*chunk);
    if (!result.isComplete)
        tellOfDamagedMarkers(*chunk, "WaveFile");
    mMarkers = std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(result.markers));
}

void WaveFile::readMetadata()
{
    const RiffChunk* chunk = chunks().find(tagIdent);
    if (!chunk)
        chunk = chunks().find(lowerCaseTagIdent);
    if (chunk)
        readId3Chunk(*chunk, "WaveFile");
}

void WaveFile::readBroadcastWaveFileChunks()
{
    QList<QByteArray> kept;
    for (const FourCharCode ident : broadcastWaveIdents) {
        if (const RiffChunk* const chunk = takeChunk(ident))
            kept.append(readRawDataAtOffset(chunk->offset, RiffChunk::headerLength + chunk->size));
    }
    if (!kept.isEmpty())
        mMetadata.setWaveBWFChunks(kept);
}

/// Nothing but the places of the speakers is lost when the plain format is written in its stead.
void WaveFile::declareFormat()
{
    const RiffChunk* const format = chunks().find(formatIdent);
    markDeclared(*format);
    const ByteRange payload = payloadRangeOf(*format);
    const int64_t numBytesRead = std::min(payload.length, longestFormatPayload);
    mLedger.addStructure({payload.offset, numBytesRead});
    if (mFormat.hasUncommonSpeakers())
        mLedger.addNotKept(ItemKind::part, QStringLiteral("places of the speakers (fmt )"));
    declareUnused(mLedger, *fileHandle(), {payload.offset + numBytesRead, payload.length - numBytesRead},
                  QStringLiteral("%1 bytes of the format chunk"));
}

void WaveFile::declareOtherChunk(const RiffChunk& chunk)
{
    declareWaveChunk(chunk, *fileHandle(), mLedger);
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
    if (lengthWithFooter() > largestFileOf32Bits)
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
    if (mNumberOfFrames > largestFileOf32Bits / std::max<int64_t>(1, frameSize()))
        return largestFileOf32Bits + 1;
    int64_t length = mSoundDataOffset + frameSize() * mNumberOfFrames;
    length += length % 2;
    for (const QByteArray& chunk : footerChunks())
        length += chunk.size() + (length + chunk.size()) % 2;
    return length;
}

std::vector<QByteArray> WaveFile::footerChunks() const
{
    std::vector<QByteArray> footer;
    if (mMarkers && !mMarkers->empty())
        footer.push_back(chunkWithPayload(markerIdent, WaveMarkers::payloadOfMarkers(*mMarkers)));
    if (mMetadata.isNotEmpty()) {
        if (const QByteArray tag = mMetadata.id3Data(); !tag.isEmpty())
            footer.push_back(chunkWithPayload(tagIdent, tag));
    }
    for (const QByteArray& chunk : mMetadata.waveBWFChunks())
        footer.push_back(chunk);
    return footer;
}

MaybeError WaveFile::writeFooter()
{
    int64_t offset = lengthOfFile();
    // A pad byte follows sound of odd length, as the format asks for: without it other programs find nothing
    // of what stands behind.
    if (auto error = writeChunk({}, &offset))
        return error;
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
    for (const RiffChunk& chunk : chunks().chunks())
        logLine(QStringLiteral("    %1 size %2")
                    .arg(QString::fromLatin1(fourCharText(chunk.ident)))
                    .arg(chunk.size));
    logLine(QStringLiteral("==== End of WAV File ====="));
}

} // namespace velloria
