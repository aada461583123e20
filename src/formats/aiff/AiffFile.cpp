#include "formats/aiff/AiffFile.h"

#include "formats/aiff/AiffChunkNames.h"
#include "formats/chunks/UnusedBytes.h"
#include "formats/decoding/FileDamage.h"
#include "formats/streams/EndianSwap.h"
#include "formats/streams/MacRoman.h"
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
constexpr int64_t unknownSize = 0xFFFFFFFF;
constexpr uint32_t versionOfAifc = 0xA2805140;
constexpr int64_t longestCommonPayload = 512;

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

MarkerList listOf(AiffMarkers::Result result)
{
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(result.markers));
}

QByteArray withoutTrailingZeros(QByteArray bytes)
{
    while (bytes.endsWith('\0'))
        bytes.chop(1);
    return bytes;
}

} // namespace

AiffFile::AiffFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : ChunkedFile(sampleRate, sampleSize, numChannels)
{
}

AiffFile::AiffFile(std::shared_ptr<FileHandle> handle)
    : ChunkedFile(std::move(handle))
{
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
    return chunks().chunks().empty() ? formatToWrite().description() : mFormat.description();
}

MaybeError AiffFile::readHeader()
{
    if (lengthOfFile() < shortestFile)
        return FileDamage::unreadable(name(), QStringLiteral("it ends within its header"));
    mLedger.addStructure({0, formHeaderLength});
    const QByteArray formSize = readRawDataAtOffset(4, 4);
    if (formSize.size() < 4)
        return FileDamage::unreadable(name(), QStringLiteral("it ends within its header"));
    const int64_t formEnd = RiffChunk::headerLength + qFromBigEndian<quint32>(formSize.constData());
    setChunks(RiffChunkList::ofFile(*fileHandle(),
                                    {formHeaderLength, lengthOfFile(), ChunkByteOrder::bigEndian, formEnd}));
    if (auto failure = readFormat())
        return failure;
    const RiffChunk* const sound = chunks().find(soundIdent);
    if (!sound && mFormat.numFrames > 0)
        return FileDamage::unreadable(name(), QStringLiteral("it has no sound data"));
    // A file of no frame need not have the chunk; it is as if an empty one stood at the end.
    const RiffChunk none = {soundIdent, lengthOfFile(), 0, true};
    readSound(mFormat, sound ? *sound : none);
    readMarkerChunk();
    readMetadata();
    declareFormat();
    declareChunks();
    return std::nullopt;
}

MaybeError AiffFile::readFormat()
{
    const RiffChunk* const common = chunks().find(commonIdent);
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

int64_t AiffFile::countFrames(const AiffFormat& format, const RiffChunk& chunk, int64_t bytesPerFrame)
{
    const bool isOpenEnded = wasNeverCompleted(chunk);
    if (isOpenEnded)
        openUpChunk(soundIdent);
    const int64_t numBytes = std::max<int64_t>(0, payloadRangeOf(chunk).end() - mSoundDataOffset);
    const int64_t numFramesThere = numBytes / bytesPerFrame;
    const int64_t numFramesTold = format.numFrames;
    const bool isPlausible = numFramesTold <= numFramesThere && (numFramesTold > 0 || numFramesThere == 0);
    if (numFramesThere > 0 && (numFramesTold == 0 || (isOpenEnded && !isPlausible)))
        mWarnings.append(FileDamage::headerNeverCompleted(name()));
    else if (!isPlausible)
        mWarnings.append(FileDamage::soundCutShort(name()));
    return isPlausible ? numFramesTold : numFramesThere;
}

void AiffFile::readSound(const AiffFormat& format, const RiffChunk& chunk)
{
    mDataFormat = fourCharCode("lpcm");
    mSoundDataOffset = offsetOfSoundIn(chunk);
    mNumberOfFrames = countFrames(format, chunk, frameSize());
    declareSamples(chunk, mNumberOfFrames * frameSize());
}

void AiffFile::declareSamples(const RiffChunk& chunk, int64_t numBytes)
{
    declareSound(chunk, {mSoundDataOffset, numBytes}, soundHeaderLength);
}

/// Takes the markers of our private chunk, which has every property of them. False when there are none.
bool AiffFile::readMarkerArchive()
{
    const RiffChunk* const archive = chunks().find(unicodeMarkerIdent);
    if (!archive || !archive->isComplete || archive->size > largestKeptChunk)
        return false;
    const QByteArray payload = payloadOf(*archive);
    mMarkers = markersFromArchive(payload);
    // Another program's record of the same name cannot be read.
    if (!mMarkers->empty() || payload.startsWith(archivedMarkers(nullptr)))
        takeChunk(unicodeMarkerIdent);
    return !mMarkers->empty();
}

void AiffFile::readMarkerChunk()
{
    const bool hasArchive = readMarkerArchive();
    const RiffChunk* const chunk = chunks().find(markerIdent);
    if (!chunk || chunk->size > largestKeptChunk)
        return;
    const QByteArray payload = payloadOf(*chunk);
    if (hasArchive) {
        // Those that another program changed since are not taken, so they are left to be told.
        const bool isOurs = payload == AiffMarkers::payloadOfMarkers(*mMarkers);
        if (isOurs)
            takeChunk(markerIdent);
        mNumbering = {isOurs ? mMarkers : listOf(AiffMarkers::markersOfPayload(payload)), isOurs};
        return;
    }
    AiffMarkers::Result result = AiffMarkers::markersOfPayload(payload);
    mLedger.addInModel(payloadRangeOf(*chunk));
    markDeclared(*chunk);
    if (!result.isComplete)
        tellOfDamagedMarkers(*chunk, "AiffFile");
    mMarkers = listOf(std::move(result));
    mNumbering = {mMarkers, false};
}

bool AiffFile::movesReferences(const AudioFile& opened, const AudioFile& writer)
{
    if (!dynamic_cast<const AiffFile*>(&writer))
        return false;
    // In a file of another type the markers have only the numbers that they were read with.
    AiffMarkers::Numbering numbering = {opened.markers(), false};
    if (const auto* const file = dynamic_cast<const AiffFile*>(&opened)) {
        const bool wasWritten = file->chunks().chunks().empty();
        numbering = wasWritten ? AiffMarkers::Numbering{file->markers(), true} : file->mNumbering;
    }
    return AiffMarkers::movesReferences(writer.metadata().aiffInstrumentChunk(),
                                        writer.metadata().aiffCommentChunk(), numbering, writer.markers());
}

QString AiffFile::textOfChunk(FourCharCode ident) const
{
    const RiffChunk* const chunk = chunks().find(ident);
    if (!chunk || !chunk->isComplete || chunk->size > largestKeptChunk)
        return {};
    return stringFromMacRoman(withoutTrailingZeros(payloadOf(*chunk)));
}

void AiffFile::readMetadata()
{
    mMetadata = AudioMetadata();
    for (const TextField& field : textFields)
        (mMetadata.*field.setValue)(textOfChunk(field.ident));
    if (const RiffChunk* const tag = chunks().find(tagIdent))
        readId3Chunk(*tag, "AiffFile");
    for (const RawField& field : rawFields) {
        if (const RiffChunk* const chunk = takeChunk(field.ident))
            (mMetadata.*field.setPayload)(payloadOf(*chunk));
    }
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

void AiffFile::declareFormat()
{
    const RiffChunk* const common = chunks().find(commonIdent);
    markDeclared(*common);
    const ByteRange payload = payloadRangeOf(*common);
    const int64_t known = std::min(payload.length, longestCommonPayload);
    mLedger.addStructure({payload.offset, known});
    declareUnused(mLedger, *fileHandle(), {payload.offset + known, payload.length - known},
                  QStringLiteral("%1 bytes of the format chunk"));
}

void AiffFile::declareOtherChunk(const RiffChunk& chunk)
{
    if (isTextInMetadata(chunk))
        mLedger.addInModel(payloadRangeOf(chunk));
    else
        declareAiffChunk(chunk, *fileHandle(), mLedger);
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
    QByteArray written;
    if (isCompressed()) {
        QByteArray version(4, Qt::Uninitialized);
        qToBigEndian<quint32>(versionOfAifc, version.data());
        written += paddedChunk(fourCharCode("FVER"), version);
    }
    written += paddedChunk(commonIdent, formatToWrite().payload());
    if (mMarkers && !mMarkers->empty()) {
        written += paddedChunk(markerIdent, AiffMarkers::payloadOfMarkers(*mMarkers));
        written += paddedChunk(unicodeMarkerIdent, evenArchiveOf(mMarkers));
    }
    for (const TextField& field : textFields)
        written += paddedChunk(field.ident, textPayload((mMetadata.*field.value)()));
    for (const RawField& field : rawFields)
        written += paddedChunk(field.ident, (mMetadata.*field.payload)());
    return written;
}

QByteArray AiffFile::metadataChunk() const
{
    // Unlike the other chunks without a pad byte: it is the last one.
    return id3Chunk(ChunkByteOrder::bigEndian);
}

int64_t AiffFile::soundDataLength() const
{
    // Compared by division: the product of absurd numbers need not fit 64 bits.
    const bool isTooLarge = mNumberOfFrames > largestFileOf32Bits / std::max<int64_t>(1, frameSize());
    return isTooLarge ? largestFileOf32Bits + 1 : mNumberOfFrames * frameSize();
}

/// The sizes of the whole and of the sound are 32-bit numbers.
int64_t AiffFile::lengthWithFooter() const
{
    return mSoundDataOffset + soundDataLength() + soundDataLength() % 2 + metadataChunk().size();
}

bool AiffFile::writeHeader(MaybeError* error)
{
    const QByteArray before = chunksBeforeSound();
    mSoundDataOffset = formHeaderLength + before.size() + RiffChunk::headerLength + soundHeaderLength;
    const int64_t length = lengthWithFooter();
    if (length > largestFileOf32Bits)
        return false;
    const QByteArray formType = isCompressed() ? QByteArrayLiteral("AIFC") : QByteArrayLiteral("AIFF");
    const MaybeError failure =
        writeRawData(chunkHeader(formIdent, length - RiffChunk::headerLength) + formType + before +
                         chunkHeader(soundIdent, soundDataLength() + soundHeaderLength) +
                         QByteArray(soundHeaderLength, '\0'),
                     0);
    if (failure && error)
        *error = failure;
    return !failure;
}

MaybeError AiffFile::writeFooter()
{
    // A pad byte follows sound of odd length, as the format asks for: without it other programs find nothing
    // of what stands behind.
    const int64_t end = lengthOfFile();
    return writeRawData(QByteArray((end - mSoundDataOffset) % 2, '\0') + metadataChunk(), end);
}

void AiffFile::debugAllChunks() const
{
    for (const RiffChunk& chunk : chunks().chunks())
        logLine(QStringLiteral("AIFF Chunk: %1 size %2")
                    .arg(QString::fromLatin1(fourCharText(chunk.ident)))
                    .arg(chunk.size));
}

} // namespace velloria
