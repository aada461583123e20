#include "formats/wave/WaveFile.h"

#include "formats/chunks/UnusedBytes.h"
#include "formats/decoding/FileDamage.h"
#include "formats/file/SampleWidth.h"
#include "formats/streams/EndianSwap.h"
#include "formats/tagediting/Id3Intake.h"
#include "formats/wave/WaveChunkNames.h"
#include "platform/Log.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstring>

namespace velloria
{

namespace
{

constexpr FourCharCode formatIdent = fourCharCode("fmt ");
constexpr FourCharCode dataIdent = fourCharCode("data");
constexpr FourCharCode tagIdent = fourCharCode("ID3 ");
constexpr FourCharCode lowerCaseTagIdent = fourCharCode("id3 ");

constexpr int64_t unknownSize = 0xFFFFFFFF;
// Formats without a field for the bits per sample end before it.
constexpr qsizetype shortestFormatPayload = 14;
constexpr int64_t longestFormatPayload = 256;

constexpr std::array broadcastWaveIdents = {
    fourCharCode("bext"), fourCharCode("iXML"), fourCharCode("qlty"), fourCharCode("mext"),
    fourCharCode("levl"), fourCharCode("link"), fourCharCode("axml"),
};

bool isText(FourCharCode ident)
{
    return ident == fourCharCode("iXML") || ident == fourCharCode("axml") || ident == fourCharCode("link");
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
    return WaveContainer::ofFile(handle).has_value();
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
    if (mKeptEncoding)
        return WaveFormat::ofPayload(mKeptEncoding->format).description();
    return chunks().chunks().empty() ? AudioFile::encodingDescription() : mFormat.description();
}

MaybeError WaveFile::readHeader()
{
    const auto container = WaveContainer::ofFile(*fileHandle());
    if (!container)
        return FileDamage::unreadable(name(), QStringLiteral("it is not a RIFF file"));
    mContainer = *container;
    mIsLittleEndian = mContainer.byteOrder == ChunkByteOrder::littleEndian;
    mLedger.addStructure({mContainer.offset, WaveContainer::headerLength});
    setChunks(RiffChunkList::ofFile(*fileHandle(), mContainer.region(*fileHandle())));
    if (auto failure = readFormat())
        return failure;
    if (!chunks().find(dataIdent))
        return FileDamage::unreadable(name(), QStringLiteral("it has no sound data"));
    readSoundDataChunk();
    readMarkers();
    readMetadata();
    readInfoList();
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
    mFormat = WaveFormat::ofPayload(payload, mContainer.byteOrder);
    if (payload.size() < format->size)
        mFormat.extension.clear();
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
    if (linearLayout())
        mBitsPerSample = mFormat.containerBits();
    else if (mFormat.isLinear() && mFormat.bitsPerSample > 0)
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
    return data.size == 0 && hasMore &&
           !RiffChunkList::isHeaderLikelyAt(*fileHandle(), data.payloadOffset(), mContainer.byteOrder);
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
    if (mFormat.isPCM() || linearLayout()) {
        mNumberOfFrames = sound.length / frameSize();
        sound.length = mNumberOfFrames * frameSize();
    }
    mHoldsNoSound = requiresConversion() && sound.length == 0;
    declareSound(*data, sound);
}

void WaveFile::readMetadata()
{
    const RiffChunk* chunk = chunks().find(tagIdent);
    if (!chunk)
        chunk = chunks().find(lowerCaseTagIdent);
    if (chunk) {
        readId3Chunk(*chunk, "WaveFile");
        mModelOffsets.push_back(chunk->offset);
    }
    mHasTagChunk = chunk || mContainer.offset > 0;
    if (mContainer.offset > 0)
        readTagInFront(chunk != nullptr);
}

/// Its texts count where no tag says otherwise.
void WaveFile::readInfoList()
{
    const auto found = std::ranges::find_if(chunks().chunks(), [this](const RiffChunk& chunk) {
        return canCarryOver(chunk) && kindOf(chunk) == fourCharCode("INFO");
    });
    if (found == chunks().chunks().end())
        return;
    mInfo = InfoList(payloadOf(*found));
    MetadataDictionary tags = mInfo.dictionary();
    tags.insert(mMetadata.dictionary());
    if (!tags.isEmpty())
        mMetadata.setValuesWithDictionary(tags);
}

/// A tag that some program put in front of the file counts where the file has none of its own.
void WaveFile::readTagInFront(bool hasTagChunk)
{
    const ByteRange bytes = {0, mContainer.offset};
    const auto tagLedger =
        hasTagChunk ? std::nullopt : takeInId3Tag(readRawDataAtOffset(bytes.offset, bytes.length), mMetadata);
    if (tagLedger)
        mLedger.addNested(*tagLedger, bytes.offset);
    else
        mLedger.addNotKept(ItemKind::part, QStringLiteral("tags in front of the file (ID3)"), bytes);
}

void WaveFile::readBroadcastWaveFileChunks()
{
    QList<QByteArray> kept;
    for (const FourCharCode ident : broadcastWaveIdents) {
        // Numbers in a big-endian file are not what a RIFF file holds under the same name; text is.
        if (!isLittleEndian() && !isText(ident))
            continue;
        const RiffChunk* const chunk = takeChunk(ident);
        if (!chunk)
            continue;
        kept.append(riffChunkHeader(ident, chunk->size) + payloadOf(*chunk));
        mModelOffsets.push_back(chunk->offset);
    }
    if (!kept.isEmpty())
        mMetadata.setWaveBWFChunks(kept);
}

/// What another format than plain PCM says stays with samples of the same shape only.
void WaveFile::declareFormat()
{
    const RiffChunk* const format = chunks().find(formatIdent);
    markDeclared(*format);
    const ByteRange payload = payloadRangeOf(*format);
    const int64_t numBytesRead = std::min(payload.length, longestFormatPayload);
    mLedger.addStructure({payload.offset, numBytesRead});
    const QString name = mFormat.hasUncommonSpeakers() ? QStringLiteral("places of the speakers (fmt )")
                                                       : QStringLiteral("more of the format (fmt )");
    if (mFormat.tellsMoreThanPCM() || mFormat.hasUncommonSpeakers())
        mLedger.add({ItemKind::part, isLittleEndian() ? Keeping::asBytes : Keeping::notKept, name, {}});
    const bool hasValidBits = mFormat.validBits > 0 && mFormat.validBits < mFormat.bitsPerSample;
    if (mFormat.isLinear() && !mFormat.isFloat())
        declareSampleWidth(hasValidBits ? mFormat.validBits : mFormat.bitsPerSample, mFormat.containerBits(),
                           mLedger);
    declareUnused(mLedger, *fileHandle(), {payload.offset + numBytesRead, payload.length - numBytesRead},
                  QStringLiteral("%1 bytes of the format chunk"));
}

void WaveFile::declareOtherChunk(const RiffChunk& chunk)
{
    // Where a tag says otherwise, or the model has another form of it, the text is no part of the model.
    QStringList keysTaken;
    const MetadataDictionary texts = mInfo.dictionary();
    for (auto [key, text] : texts.asKeyValueRange()) {
        if (mMetadata.dictionary().value(key) == text)
            keysTaken.append(key);
    }
    const Keeping keeping = canCarryOver(chunk) ? Keeping::asBytes : Keeping::notKept;
    declareWaveChunk(chunk, *fileHandle(), mContainer.byteOrder, {keeping, keysTaken}, mLedger);
}

std::optional<LinearPcmLayout> WaveFile::linearLayout() const
{
    return mFormat.linearLayout(mContainer.byteOrder);
}

int64_t WaveFile::readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const
{
    const int64_t numRead = AudioFile::readAudioDataAtOffset(offset, out);
    const std::span<std::byte> samples = out.first(static_cast<size_t>(numRead));
    if (!isLittleEndian())
        endianSwapData(samples, mBitsPerSample);
    convertTwosComplementData(samples);
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

void WaveFile::logAllChunks() const
{
    if (chunks().chunks().empty()) {
        logLine(QStringLiteral("Wave file header is invalid."));
        return;
    }
    const QByteArray riffSize = readRawDataAtOffset(mContainer.offset + 4, 4);
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
