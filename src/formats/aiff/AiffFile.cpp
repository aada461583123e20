#include "formats/aiff/AiffFile.h"

#include "formats/aiff/AiffChunkNames.h"
#include "formats/aiff/AiffMarkers.h"
#include "formats/chunks/ChunkNames.h"
#include "formats/decoding/FileDamage.h"
#include "formats/streams/EndianSwap.h"
#include "formats/streams/MacRoman.h"
#include "formats/tags/Id3Intake.h"
#include "formats/tags/Id3Writer.h"
#include "platform/Log.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr FourCharCode formIdent = fourCharCode("FORM");
constexpr FourCharCode commonIdent = fourCharCode("COMM");
constexpr FourCharCode soundIdent = fourCharCode("SSND");
constexpr FourCharCode markerIdent = fourCharCode("MARK");
constexpr FourCharCode unicodeMarkerIdent = fourCharCode("uMrk");
constexpr FourCharCode tagIdent = fourCharCode("ID3 ");

constexpr int64_t formHeaderLength = 12;
constexpr int64_t shortestFile = 40;
// Offset of the first sample and size of a block, 32 bits each.
constexpr int64_t soundHeaderLength = 8;
constexpr int64_t largestFile = 0xFFFFFFFF;
constexpr int64_t unknownSize = 0xFFFFFFFF;
constexpr uint32_t versionOfAifc = 0xA2805140;
constexpr int64_t longestCommonPayload = 512;
// Chunks beyond this size are no descriptions of a recording.
constexpr int64_t largestKeptChunk = int64_t{64} << 20;
constexpr uint32_t widestSample = 32;

struct TextField {
    FourCharCode ident;
    const QString& (AudioMetadata::*value)() const;
    void (AudioMetadata::*setValue)(const QString&);
};

constexpr std::array textFields = {
    TextField{fourCharCode("NAME"), &AudioMetadata::title, &AudioMetadata::setTitle},
    TextField{fourCharCode("AUTH"), &AudioMetadata::artist, &AudioMetadata::setArtist},
    TextField{fourCharCode("(c) "), &AudioMetadata::copyright, &AudioMetadata::setCopyright},
    TextField{fourCharCode("ANNO"), &AudioMetadata::comments, &AudioMetadata::setComments},
};

struct RawField {
    FourCharCode ident;
    const QByteArray& (AudioMetadata::*payload)() const;
    void (AudioMetadata::*setPayload)(const QByteArray&);
};

constexpr std::array rawFields = {
    RawField{fourCharCode("INST"), &AudioMetadata::aiffInstrumentChunk,
             &AudioMetadata::setAiffInstrumentChunk},
    RawField{fourCharCode("MIDI"), &AudioMetadata::aiffMIDIChunk, &AudioMetadata::setAiffMIDIChunk},
    RawField{fourCharCode("AESD"), &AudioMetadata::aiffAudioRecordingChunk,
             &AudioMetadata::setAiffAudioRecordingChunk},
    RawField{fourCharCode("COMT"), &AudioMetadata::aiffCommentChunk, &AudioMetadata::setAiffCommentChunk},
};

FourCharCode identAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray bytes = handle.readAt(offset, 4);
    return bytes.size() == 4 ? qFromBigEndian<quint32>(bytes.constData()) : 0;
}

QByteArray chunkHeader(FourCharCode ident, int64_t size)
{
    return riffChunkHeader(ident, size, ChunkByteOrder::bigEndian);
}

/// A chunk with its pad byte; nothing for an empty payload.
QByteArray paddedChunk(FourCharCode ident, const QByteArray& payload)
{
    if (payload.isEmpty())
        return {};
    return chunkHeader(ident, payload.size()) + payload + QByteArray(payload.size() % 2, '\0');
}

/// Some programs skip the pad bytes only of chunks that they know, so this one needs none: a byte behind the
/// archive does not matter to its reader.
QByteArray evenArchiveOf(const MarkerList& markers)
{
    const QByteArray archive = archivedMarkers(markers);
    return archive + QByteArray(archive.size() % 2, '\0');
}

/// The zero byte that some strings end with is no part of the text.
QByteArray textPayload(const QString& text)
{
    QByteArray bytes = macRomanFromString(text);
    if (bytes.endsWith('\0'))
        bytes.chop(1);
    return bytes;
}

QByteArray withoutTrailingZeros(QByteArray bytes)
{
    while (bytes.endsWith('\0'))
        bytes.chop(1);
    return bytes;
}

void logException(const char* method, const QString& reason)
{
    logLine(QStringLiteral("Exception raised in -[AiffFile %1]: %2").arg(QLatin1String(method), reason));
}

} // namespace

AiffFile::AiffFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

AiffFile::AiffFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
    mCanSaveMarkers = true;
    mCanSaveMetadata = true;
    mCanSaveArtwork = true;
}

bool AiffFile::hasForm(const FileHandle& handle, FourCharCode formType)
{
    return identAt(handle, 0) == formIdent && identAt(handle, 8) == formType;
}

bool AiffFile::validateFileHeader(const FileHandle& handle)
{
    return hasForm(handle, fourCharCode("AIFF"));
}

std::shared_ptr<AudioFile> AiffFile::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    const bool isAiff = validateFileHeader(*handle);
    return openedFile(std::shared_ptr<AiffFile>(new AiffFile(std::move(handle))), isAiff, error);
}

std::shared_ptr<AudioFile> AiffFile::openedFile(const std::shared_ptr<AiffFile>& file, bool isOfItsType,
                                                MaybeError* error)
{
    MaybeError failure;
    if (isOfItsType)
        failure = file->readHeader();
    if (isOfItsType && !failure)
        return file;
    logLine(QStringLiteral("Error reading AIFF/AIFC header."));
    // What has another form may be of another type.
    if (failure && error)
        *error = failure;
    return nullptr;
}

QString AiffFile::fileFormatUTI() const
{
    return QStringLiteral("public.aiff-audio");
}

QString AiffFile::encodingDescription() const
{
    return mChunks.chunks().empty() ? AudioFile::encodingDescription() : mFormat.description();
}

QString AiffFile::name() const
{
    return displayName(filePath());
}

MaybeError AiffFile::readHeader()
{
    if (lengthOfFile() < shortestFile)
        return FileDamage::unreadable(name(), QStringLiteral("it ends within its header"));
    mChunks = RiffChunkList::ofFile(*fileHandle(), formHeaderLength, lengthOfFile(),
                                    RiffChunkList::mostChunksOfFile, ChunkByteOrder::bigEndian);
    if (auto failure = readFormat())
        return failure;
    const RiffChunk* const sound = mChunks.find(soundIdent);
    if (!sound)
        return FileDamage::unreadable(name(), QStringLiteral("it has no sound data"));
    readSound(mFormat, *sound);
    readMarkerChunk();
    readMetadata();
    listChunksNotKept();
    return std::nullopt;
}

MaybeError AiffFile::readFormat()
{
    const RiffChunk* const common = mChunks.find(commonIdent);
    if (!common)
        return FileDamage::unreadable(name(), QStringLiteral("its format chunk is missing"));
    const QByteArray payload =
        readRawDataAtOffset(common->payloadOffset(), std::min(common->size, longestCommonPayload));
    if (payload.size() < (isCompressed() ? AiffFormat::compressedLength : AiffFormat::plainLength))
        return FileDamage::unreadable(name(), QStringLiteral("its format chunk is cut short"));
    mFormat = AiffFormat::ofPayload(payload, isCompressed());
    if (auto failure = mFormat.checked(name()))
        return failure;
    mNumberOfChannels = mFormat.numChannels;
    mBitsPerSample = mFormat.bitsPerSample;
    mSampleRate = mFormat.sampleRate;
    return std::nullopt;
}

int64_t AiffFile::offsetOfSoundIn(const RiffChunk& chunk) const
{
    const QByteArray field = readRawDataAtOffset(chunk.payloadOffset(), 4);
    const int64_t alignment = field.size() == 4 ? qFromBigEndian<quint32>(field.constData()) : 0;
    return chunk.payloadOffset() + soundHeaderLength + alignment;
}

/// A recorder that was stopped in the middle leaves the sizes that it wrote at the start: nothing but the
/// sound's own header, or all ones. The sound then goes on to the end of the file.
bool AiffFile::wasNeverCompleted(const RiffChunk& chunk) const
{
    if (chunk.size == unknownSize)
        return true;
    const int64_t firstSample = chunk.payloadOffset() + soundHeaderLength;
    if (chunk.size > soundHeaderLength || lengthOfFile() < firstSample + RiffChunk::headerLength)
        return false;
    return !RiffChunkList::isHeaderLikelyAt(*fileHandle(), chunk.end(), ChunkByteOrder::bigEndian);
}

void AiffFile::readSound(const AiffFormat& format, const RiffChunk& chunk)
{
    mDataFormat = fourCharCode("lpcm");
    mSoundDataOffset = offsetOfSoundIn(chunk);
    const bool isOpenEnded = wasNeverCompleted(chunk);
    const int64_t end = isOpenEnded ? lengthOfFile() : std::min(chunk.end(), lengthOfFile());
    const int64_t numFramesThere = std::max<int64_t>(0, end - mSoundDataOffset) / frameSize();
    const int64_t numFramesTold = format.numFrames;
    const bool isPlausible = numFramesTold <= numFramesThere && (numFramesTold > 0 || numFramesThere == 0);
    mNumberOfFrames = isPlausible ? numFramesTold : numFramesThere;
    if (numFramesThere > 0 && (numFramesTold == 0 || (isOpenEnded && !isPlausible)))
        mWarnings.append(FileDamage::headerNeverCompleted(name()));
    else if (!isPlausible)
        mWarnings.append(FileDamage::soundCutShort(name()));
}

QByteArray AiffFile::payloadOf(const RiffChunk& chunk) const
{
    return readRawDataAtOffset(chunk.payloadOffset(), chunk.size);
}

/// The first chunk of that name, when it is whole; it counts as kept from now on. Else null.
const RiffChunk* AiffFile::keptChunk(FourCharCode ident)
{
    const RiffChunk* const chunk = mChunks.find(ident);
    if (!chunk || !chunk->isComplete || chunk->size > largestKeptChunk)
        return nullptr;
    mOffsetsOfKeptChunks.push_back(chunk->offset);
    return chunk;
}

void AiffFile::readMarkerChunk()
{
    const RiffChunk* const archive = keptChunk(unicodeMarkerIdent);
    const RiffChunk* const chunk = mChunks.find(markerIdent);
    if (chunk)
        mOffsetsOfKeptChunks.push_back(chunk->offset);
    if (archive) {
        mMarkers = markersFromArchive(payloadOf(*archive));
        if (!mMarkers->empty())
            return;
    }
    if (!chunk || chunk->size > largestKeptChunk)
        return;
    AiffMarkers::Result result = AiffMarkers::markersOfPayload(payloadOf(*chunk));
    if (!result.isComplete) {
        logException("readMarkerChunk", QStringLiteral("the chunk ends before its last marker"));
        mWarnings.append(FileDamage::markersUnreadable(name()));
    }
    mMarkers = std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(result.markers));
}

QString AiffFile::textOfChunk(FourCharCode ident) const
{
    const RiffChunk* const chunk = mChunks.find(ident);
    if (!chunk || !chunk->isComplete || chunk->size > largestKeptChunk)
        return {};
    return stringFromMacRoman(withoutTrailingZeros(payloadOf(*chunk)));
}

void AiffFile::readMetadata()
{
    mMetadata = AudioMetadata();
    for (const TextField& field : textFields)
        (mMetadata.*field.setValue)(textOfChunk(field.ident));
    readId3Chunk();
    for (const RawField& field : rawFields) {
        if (const RiffChunk* const chunk = keptChunk(field.ident))
            (mMetadata.*field.setPayload)(payloadOf(*chunk));
    }
}

void AiffFile::readId3Chunk()
{
    const RiffChunk* const chunk = mChunks.find(tagIdent);
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

/// True for a text chunk that a save would write again; where there is an ID3v2 tag too, that may say
/// something else.
bool AiffFile::isTextInMetadata(const RiffChunk& chunk) const
{
    const auto* const field = std::find_if(textFields.begin(), textFields.end(),
                                           [&](const TextField& each) { return each.ident == chunk.ident; });
    if (field == textFields.end() || !chunk.isComplete || chunk.size > largestKeptChunk)
        return false;
    return withoutTrailingZeros(payloadOf(chunk)).trimmed() ==
           textPayload((mMetadata.*(field->value))()).trimmed();
}

void AiffFile::listChunksNotKept()
{
    const RiffChunk* const common = mChunks.find(commonIdent);
    const RiffChunk* const sound = mChunks.find(soundIdent);
    for (const RiffChunk& chunk : mChunks.chunks()) {
        const bool isKept = std::find(mOffsetsOfKeptChunks.begin(), mOffsetsOfKeptChunks.end(),
                                      chunk.offset) != mOffsetsOfKeptChunks.end();
        if (&chunk != common && &chunk != sound && !isKept && !isDispensableAiffChunk(chunk) &&
            !isTextInMetadata(chunk))
            mLedger.addNotKept(ItemKind::part, nameOfAiffChunk(chunk));
    }
}

int64_t AiffFile::readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const
{
    const int64_t numRead = AudioFile::readAudioDataAtOffset(offset, out);
    endianSwapData(out.first(static_cast<size_t>(numRead)), mBitsPerSample);
    return numRead;
}

MaybeError AiffFile::writeAudioData(std::span<std::byte> data, int64_t offset)
{
    endianSwapData(data, mBitsPerSample);
    return AudioFile::writeAudioData(data, offset);
}

bool AiffFile::canSavePicture(const AttachedPicture& picture) const
{
    return canBeId3Picture(picture);
}

void AiffFile::validateAndCorrectParameters()
{
    AudioFile::validateAndCorrectParameters();
    // Wider integers (offered to a document of 64-bit floats) could only be written as zeros.
    mBitsPerSample = std::min(mBitsPerSample, widestSample);
}

AiffFormat AiffFile::formatToWrite() const
{
    AiffFormat format;
    format.numChannels = static_cast<uint16_t>(mNumberOfChannels);
    format.numFrames = static_cast<uint32_t>(std::clamp<int64_t>(mNumberOfFrames, 0, 0xFFFFFFFF));
    format.bitsPerSample = static_cast<uint16_t>(mBitsPerSample);
    format.sampleRate = mSampleRate;
    return format;
}

QByteArray AiffFile::chunksBeforeSound() const
{
    QByteArray chunks;
    if (isCompressed()) {
        QByteArray version(4, Qt::Uninitialized);
        qToBigEndian<quint32>(versionOfAifc, version.data());
        chunks += paddedChunk(fourCharCode("FVER"), version);
    }
    chunks += paddedChunk(commonIdent, formatToWrite().payload());
    if (mMarkers && !mMarkers->empty()) {
        chunks += paddedChunk(markerIdent, AiffMarkers::payloadOfMarkers(*mMarkers));
        chunks += paddedChunk(unicodeMarkerIdent, evenArchiveOf(mMarkers));
    }
    for (const TextField& field : textFields)
        chunks += paddedChunk(field.ident, textPayload((mMetadata.*field.value)()));
    for (const RawField& field : rawFields)
        chunks += paddedChunk(field.ident, (mMetadata.*field.payload)());
    return chunks;
}

QByteArray AiffFile::metadataChunk() const
{
    // Unlike the other chunks without a pad byte: it is the last one.
    const QByteArray tag = mMetadata.isNotEmpty() ? mMetadata.id3Data() : QByteArray();
    return tag.isEmpty() ? QByteArray() : chunkHeader(tagIdent, tag.size()) + tag;
}

int64_t AiffFile::soundDataLength() const
{
    // Compared by division: the product of absurd numbers need not fit 64 bits.
    const bool isTooLarge = mNumberOfFrames > largestFile / std::max<int64_t>(1, frameSize());
    return isTooLarge ? largestFile + 1 : mNumberOfFrames * frameSize();
}

/// The sizes of the whole and of the sound are 32-bit numbers.
int64_t AiffFile::lengthWithFooter() const
{
    return mSoundDataOffset + soundDataLength() + metadataChunk().size();
}

bool AiffFile::writeHeader(MaybeError* error)
{
    const QByteArray chunks = chunksBeforeSound();
    mSoundDataOffset = formHeaderLength + chunks.size() + RiffChunk::headerLength + soundHeaderLength;
    const int64_t length = lengthWithFooter();
    if (length > largestFile)
        return false;
    const QByteArray formType = isCompressed() ? QByteArrayLiteral("AIFC") : QByteArrayLiteral("AIFF");
    const MaybeError failure =
        writeRawData(chunkHeader(formIdent, length - RiffChunk::headerLength) + formType + chunks +
                         chunkHeader(soundIdent, soundDataLength() + soundHeaderLength) +
                         QByteArray(soundHeaderLength, '\0'),
                     0);
    if (failure && error)
        *error = failure;
    return !failure;
}

MaybeError AiffFile::writeFooter()
{
    const QByteArray chunk = metadataChunk();
    return chunk.isEmpty() ? std::nullopt : writeRawData(chunk, lengthOfFile());
}

void AiffFile::debugAllChunks() const
{
    for (const RiffChunk& chunk : mChunks.chunks())
        logLine(QStringLiteral("AIFF Chunk: %1 size %2")
                    .arg(QString::fromLatin1(fourCharText(chunk.ident)))
                    .arg(chunk.size));
}

} // namespace velloria
