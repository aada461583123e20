#include "formats/aiff/AiffFile.h"

#include "formats/aiff/AiffChunkNames.h"
#include "formats/aiff/AiffFields.h"
#include "formats/chunks/UnusedBytes.h"
#include "formats/decoding/FileDamage.h"
#include "formats/streams/EndianSwap.h"
#include "platform/Log.h"

#include <QtEndian>
#include <algorithm>

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
constexpr int64_t longestCommonPayload = 512;

FourCharCode identAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray bytes = handle.readAt(offset, 4);
    return bytes.size() == 4 ? qFromBigEndian<quint32>(bytes.constData()) : 0;
}

MarkerList listOf(AiffMarkers::Result result)
{
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(result.markers));
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

std::shared_ptr<AudioFile> AiffFile::reopened() const
{
    return mFileHandle ? open(mFileHandle, nullptr) : nullptr;
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
    mHasArchive = !mMarkers->empty() || payload.startsWith(archivedMarkers(nullptr));
    if (mHasArchive)
        takeModelChunk(unicodeMarkerIdent);
    return !mMarkers->empty();
}

void AiffFile::readMarkerChunk()
{
    const bool hasArchive = readMarkerArchive();
    const RiffChunk* const chunk = chunks().find(markerIdent);
    if (chunk && chunk->size <= largestKeptChunk) {
        const QByteArray payload = payloadOf(*chunk);
        mModelOffsets.push_back(chunk->offset);
        mMarkList = AiffMarkList(payload);
        if (hasArchive)
            compareMarkers(*chunk, payload);
        else
            takeMarkers(*chunk, payload);
    }
    mMarkersAsRead = archivedMarkers(mMarkers);
}

/// Those that another program changed since are not taken, so they are left to be told when they go.
void AiffFile::compareMarkers(const RiffChunk& chunk, const QByteArray& payload)
{
    if (mMarkList.pairWith(*mMarkers))
        takeChunk(markerIdent);
    else
        declareAiffChunk(chunk, *fileHandle(), chunk.isComplete ? Keeping::asBytes : Keeping::notKept,
                         mLedger);
    markDeclared(chunk);
    const bool isOurs = payload == AiffMarkers::payloadOfMarkers(*mMarkers);
    mNumbering = {isOurs ? mMarkers : listOf(AiffMarkers::markersOfPayload(payload)), isOurs};
}

void AiffFile::takeMarkers(const RiffChunk& chunk, const QByteArray& payload)
{
    AiffMarkers::Result result = AiffMarkers::markersOfPayload(payload);
    mLedger.addInModel(payloadRangeOf(chunk));
    markDeclared(chunk);
    if (!result.isComplete)
        tellOfDamagedMarkers(chunk, "AiffFile");
    mMarkers = listOf(std::move(result));
    mNumbering = {mMarkers, false};
}

/// The numbers of an opened AIFF file stay; in a new one they are others.
bool AiffFile::movesReferences(const AudioFile& opened, const AudioFile& writer)
{
    const auto* const written = dynamic_cast<const AiffFile*>(&writer);
    if (!written)
        return false;
    const QByteArray& instrument = writer.metadata().aiffInstrumentChunk();
    const QByteArray& comments = writer.metadata().aiffCommentChunk();
    if (const AiffFile* const edited = written->editedFile(); edited && !edited->mMarkList.isEmpty())
        return edited->mMarkList.losesAnyOf(AiffMarkers::identsNamed(instrument, comments),
                                            written->markersNow());
    // In a file of another type the markers have only the numbers that they were read with.
    AiffMarkers::Numbering numbering = {opened.markers(), false};
    if (const auto* const file = dynamic_cast<const AiffFile*>(&opened)) {
        const bool wasWritten = file->chunks().chunks().empty();
        numbering = wasWritten ? AiffMarkers::Numbering{file->markers(), true} : file->mNumbering;
    }
    return AiffMarkers::movesReferences(instrument, comments, numbering, writer.markers());
}

/// Null for none that can be a text.
const RiffChunk* AiffFile::textChunk(FourCharCode ident) const
{
    const RiffChunk* const chunk = chunks().find(ident);
    return chunk && chunk->isComplete && chunk->size <= largestKeptChunk ? chunk : nullptr;
}

void AiffFile::readMetadata()
{
    mMetadata = AudioMetadata();
    for (const AiffTextField& field : aiffTextFields) {
        const RiffChunk* const chunk = textChunk(field.ident);
        if (!chunk)
            continue;
        mModelOffsets.push_back(chunk->offset);
        (mMetadata.*field.setValue)(aiffTextOf(payloadOf(*chunk)));
    }
    if (const RiffChunk* const tag = chunks().find(tagIdent)) {
        readId3Chunk(*tag, "AiffFile");
        mModelOffsets.push_back(tag->offset);
    }
    for (const AiffRawField& field : aiffRawFields) {
        if (const RiffChunk* const chunk = takeModelChunk(field.ident))
            (mMetadata.*field.setPayload)(payloadOf(*chunk));
    }
}

/// Of the chunks that are written where they stood.
const RiffChunk* AiffFile::takeModelChunk(FourCharCode ident)
{
    const RiffChunk* const chunk = takeChunk(ident);
    if (chunk)
        mModelOffsets.push_back(chunk->offset);
    return chunk;
}

/// True for a text chunk that says what the metadata say; where there is an ID3v2 tag too, that may say
/// something else.
bool AiffFile::isTextInMetadata(const RiffChunk& chunk) const
{
    const auto* const field =
        std::find_if(aiffTextFields.begin(), aiffTextFields.end(),
                     [&](const AiffTextField& each) { return each.ident == chunk.ident; });
    if (field == aiffTextFields.end() || !chunk.isComplete || chunk.size > largestKeptChunk)
        return false;
    return aiffTextOf(payloadOf(chunk)).trimmed() ==
           aiffTextOf(aiffTextPayload((mMetadata.*(field->value))())).trimmed();
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
        declareAiffChunk(chunk, *fileHandle(), canCarryOver(chunk) ? Keeping::asBytes : Keeping::notKept,
                         mLedger);
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

void AiffFile::debugAllChunks() const
{
    for (const RiffChunk& chunk : chunks().chunks())
        logLine(QStringLiteral("AIFF Chunk: %1 size %2")
                    .arg(QString::fromLatin1(fourCharText(chunk.ident)))
                    .arg(chunk.size));
}

} // namespace velloria
