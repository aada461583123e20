#include "formats/aiff/AifcFile.h"

#include "formats/decoding/FileDamage.h"
#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/file/SampleWidth.h"
#include "formats/saving/PacketSaver.h"
#include "formats/saving/SampleBytesSink.h"
#include "platform/MissedReads.h"
#include "platform/codec/AudioFormats.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int64_t largestFile = 0xFFFFFFFF;
constexpr uint32_t mostChannelsOfIma4 = 2;
// What the size estimate allows for headers and tags.
constexpr double estimatedHeaderSize = 1000.0;

struct Encoding {
    FourCharCode format;
    const char* title;
};

constexpr std::array writableEncodings = {Encoding{DataFormat::kIma4, "IMA 4:1"},
                                          Encoding{DataFormat::kALaw, "A-Law 2:1"},
                                          Encoding{DataFormat::kMuLaw, "mu-Law 2:1"}};

struct Estimate {
    FourCharCode format;
    /// Of the size as 16-bit integers.
    double fraction;
};

constexpr std::array estimates = {
    Estimate{DataFormat::kIma4, 0.25},          Estimate{DataFormat::kALaw, 0.5},
    Estimate{DataFormat::kMuLaw, 0.5},          Estimate{fourCharCode("MAC3"), 1.0 / 6.0},
    Estimate{fourCharCode("MAC6"), 1.0 / 12.0},
};

bool isWritable(FourCharCode format)
{
    return std::any_of(writableEncodings.begin(), writableEncodings.end(),
                       [format](const Encoding& each) { return each.format == format; });
}

/// Some programs write the same encodings in capitals.
FourCharCode writtenAs(FourCharCode format)
{
    if (format == fourCharCode("ALAW"))
        return DataFormat::kALaw;
    return format == fourCharCode("ULAW") ? DataFormat::kMuLaw : format;
}

StreamDescription descriptionOf(FourCharCode format, double sampleRate, uint32_t numChannels)
{
    StreamDescription description(std::max(1.0, std::round(sampleRate)), numChannels);
    description.setFormat(format);
    description.useAudioFormatToValidateDescription();
    return description;
}

} // namespace

AifcFile::AifcFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AiffFile(sampleRate, sampleSize, numChannels)
{
}

AifcFile::AifcFile(std::shared_ptr<FileHandle> handle)
    : AiffFile(std::move(handle))
{
}

bool AifcFile::validateFileHeader(const FileHandle& handle)
{
    return hasForm(handle, fourCharCode("AIFC"));
}

std::shared_ptr<AudioFile> AifcFile::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    const bool isAifc = validateFileHeader(*handle);
    return openedFile(std::shared_ptr<AifcFile>(new AifcFile(std::move(handle))), isAifc, error);
}

std::shared_ptr<AudioFile> AifcFile::reopened() const
{
    return mFileHandle ? open(mFileHandle, nullptr) : nullptr;
}

QString AifcFile::fileFormatUTI() const
{
    return QStringLiteral("public.aifc-audio");
}

QString AifcFile::typeForSaving(FourCharCode dataFormat)
{
    return isWritable(writtenAs(dataFormat)) ? QStringLiteral("public.aifc-audio")
                                             : QStringLiteral("public.aiff-audio");
}

void AifcFile::readSound(const AiffFormat& format, const RiffChunk& chunk)
{
    mRequiresConversion = true;
    mDataFormat = writtenAs(format.compressionType.value_or(0));
    mIsFloat = format.isFloat();
    mNumPackets = format.numFrames;
    mSoundDataOffset = offsetOfSoundIn(chunk);
    if (format.isLinear())
        readLinearSound(format, chunk);
    else
        readCompressedSound(format, chunk);
}

void AifcFile::readLinearSound(const AiffFormat& format, const RiffChunk& chunk)
{
    mLayout = format.layout();
    mBitsPerSample = 8 * mLayout->bytesPerSample;
    mIsLittleEndian = !mLayout->isBigEndian;
    mNumberOfFrames = countFrames(format, chunk, frameSize());
    mSoundDataLength = mNumberOfFrames * frameSize();
    mHoldsNoSound = mNumberOfFrames == 0;
    declareSamples(chunk, mSoundDataLength);
    // Types with a width of their own leave the field to chance.
    const bool isWidthTold = (format.bitsPerSample + 7U) / 8U == mLayout->bytesPerSample;
    if (!mIsFloat && isWidthTold)
        declareSampleWidth(format.bitsPerSample, mBitsPerSample, mLedger);
}

void AifcFile::readCompressedSound(const AiffFormat& format, const RiffChunk& chunk)
{
    // What the format says of an encoding's packets tells nothing of the samples that they decode to.
    mBitsPerSample = 16;
    const bool isOpenEnded = wasNeverCompleted(chunk);
    mSoundDataLength = std::max<int64_t>(0, chunk.end() - mSoundDataOffset);
    mHoldsNoSound = lengthOfFile() <= mSoundDataOffset || (mSoundDataLength == 0 && !isOpenEnded);
    if (isOpenEnded)
        mWarnings.append(FileDamage::headerNeverCompleted(name()));
    else if (!chunk.isComplete)
        mWarnings.append(FileDamage::soundCutShort(name()));
    if (isOpenEnded)
        openUpChunk(chunk.ident);
    const auto info = audioFormatInfo(mDataFormat);
    const int64_t bytesPerPacket = info ? int64_t{info->bytesPerPacketAndChannel} * format.numChannels : 0;
    const int64_t numPacketsThere =
        bytesPerPacket > 0 ? (payloadRangeOf(chunk).end() - mSoundDataOffset) / bytesPerPacket : 0;
    const bool isShorter = mNumPackets > 0 && mNumPackets < numPacketsThere && !isOpenEnded;
    declareSamples(chunk, isShorter ? mNumPackets * bytesPerPacket : lengthOfFile());
}

/// Most programs count packets in the header, some count frames: a number that does not fit packets is one of
/// frames, when it ends within the last packet.
int64_t AifcFile::numFramesOfPackets(int64_t numFramesThere) const
{
    const auto info = audioFormatInfo(mDataFormat);
    const int64_t framesPerPacket = info ? info->framesPerPacket : 0;
    if (mNumPackets <= 0 || framesPerPacket <= 0)
        return numFramesThere;
    const bool areFrames = mNumPackets <= numFramesThere && mNumPackets > numFramesThere - framesPerPacket;
    return areFrames ? mNumPackets : std::min(numFramesThere, mNumPackets * framesPerPacket);
}

void AifcFile::adjustDecoder(VLAudioFileDecompressor& decoder) const
{
    decoder.setExactSampleRate(mSampleRate);
    decoder.limitFrames(numFramesOfPackets(decoder.numberOfFrames()));
}

FileOptions AifcFile::fileOptions() const
{
    FileOptions options{QStringLiteral("Compression:"), {}, static_cast<int>(DataFormat::kIma4)};
    for (const Encoding& encoding : writableEncodings)
        options.items.push_back({static_cast<int>(encoding.format), QString::fromLatin1(encoding.title)});
    if (isWritable(mDataFormat))
        options.selectedTag = static_cast<int>(mDataFormat);
    return options;
}

double AifcFile::estimatedFileSizeWithTag(int tag) const
{
    constexpr int bitsOfEstimate = 16;
    const auto* const estimate =
        std::find_if(estimates.begin(), estimates.end(),
                     [tag](const Estimate& each) { return static_cast<int>(each.format) == tag; });
    if (estimate == estimates.end())
        return -1.0;
    return AiffFile::estimatedFileSizeWithTag(bitsOfEstimate) * estimate->fraction + estimatedHeaderSize;
}

void AifcFile::configureWithPopUpTag(int tag)
{
    mDataFormat = static_cast<FourCharCode>(tag);
}

void AifcFile::validateAndCorrectParameters()
{
    if (mBitsPerSample == 0)
        mBitsPerSample = 16;
    if (!isWritable(mDataFormat))
        mDataFormat = DataFormat::kIma4;
}

uint32_t AifcFile::maximumNumberOfChannels() const
{
    return mDataFormat == DataFormat::kIma4 ? mostChannelsOfIma4 : AiffFile::maximumNumberOfChannels();
}

/// The header counts packets, so the length of the sound within the last one is told nowhere.
QStringList AifcFile::soundLosses() const
{
    const auto info = audioFormatInfo(mDataFormat);
    const int64_t framesPerPacket = info ? std::max<int64_t>(1, info->framesPerPacket) : 1;
    const int64_t numFramesInLast = mNumberOfFrames % framesPerPacket;
    QStringList losses = AiffFile::soundLosses();
    if (numFramesInLast != 0 && !keptSound())
        losses += QStringLiteral("%1 sound is stored in packets of %2 frames; %3 frames of silence fill the "
                                 "last one.")
                      .arg(compressionName())
                      .arg(framesPerPacket)
                      .arg(framesPerPacket - numFramesInLast);
    return losses;
}

QString AifcFile::compressionName() const
{
    const auto info = audioFormatInfo(mDataFormat);
    return info ? info->name : QString();
}

AiffFormat AifcFile::formatToWrite() const
{
    AiffFormat format = AiffFile::formatToWrite();
    format.numFrames = static_cast<uint32_t>(std::clamp<int64_t>(mNumPackets, 0, 0xFFFFFFFF));
    format.compressionType = mDataFormat;
    format.compressionName = compressionName();
    return format;
}

/// Whether the file gets too large shows before anything is written.
void AifcFile::predictPackets(const SaveRange& range)
{
    const auto info = audioFormatInfo(mDataFormat);
    const int64_t framesPerPacket = info ? std::max<int64_t>(1, info->framesPerPacket) : 1;
    const int64_t bytesPerPacket = info ? int64_t{info->bytesPerPacketAndChannel} * mNumberOfChannels : 0;
    mNumPackets = range.numFrames / framesPerPacket + (range.numFrames % framesPerPacket != 0);
    const bool isTooLarge = mNumPackets > largestFile / std::max<int64_t>(1, bytesPerPacket);
    mSoundDataLength = isTooLarge ? largestFile + 1 : mNumPackets * bytesPerPacket;
}

MaybeError AifcFile::writeRange(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    predictPackets(range);
    MaybeError failure;
    if (!writeHeader(&failure))
        return failure ? failure : tooLargeForType();
    failure = writePackets(document, range, progress);
    // The true sizes, whether or not all was written.
    MaybeError headerFailure;
    writeHeader(&headerFailure);
    const MaybeError footerFailure = writeFooter();
    if (failure)
        return failure;
    return headerFailure ? headerFailure : footerFailure;
}

MaybeError AifcFile::writePackets(const FrameSource& document, const SaveRange& range, Progress& progress)
{
    PacketSaver::Options options;
    options.format = descriptionOf(mDataFormat, mSampleRate, mNumberOfChannels);
    PacketSaver saver(document, range, options);
    SampleBytesSink sink(*this);
    MaybeError error = saver.run(sink, progress);
    mSoundDataLength = sink.numBytesWritten();
    return error || !piecesSource() ? error : writeKeptPieces();
}

/// Of sound whose samples are bytes: over what was encoded of them. Nearly all are the same, but mu-law has
/// two codes for silence.
MaybeError AifcFile::writeKeptPieces()
{
    const FileHandle& source = *piecesSource()->fileHandle();
    for (const SoundPiece& piece : keptPieces()) {
        MaybeError error;
        const int64_t numBytes = piece.numFrames * mNumberOfChannels;
        const int64_t numCopied = fileHandle()->copyFrom(
            source, piecesSource()->soundDataOffset() + piece.sourceFrame * mNumberOfChannels,
            soundDataOffset() + piece.frame * mNumberOfChannels, numBytes, &error);
        if (error)
            return error;
        if (numCopied == numBytes)
            continue;
        source.noteMissedRead();
        return missedReadsError(source);
    }
    return std::nullopt;
}

/// The header counts packets or frames, whichever the program chose; it says the same of the same packets. A
/// file that is cut short or was never completed is not kept so.
bool AifcFile::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const AifcFile*>(&source);
    if (!opened || opened->mLayout || opened->mDataFormat != mDataFormat || !opened->warnings().isEmpty() ||
        opened->mSoundDataLength <= 0)
        return false;
    mNumPackets = opened->mNumPackets;
    mSoundDataLength = opened->mSoundDataLength;
    return true;
}

/// A-law and mu-law: each byte is a sample of its own.
bool AifcFile::takePieces(const AudioFile& source, const SoundPieces& pieces)
{
    const auto* const opened = dynamic_cast<const AifcFile*>(&source);
    const bool isBytes = mDataFormat == DataFormat::kALaw || mDataFormat == DataFormat::kMuLaw;
    return isBytes && opened && !opened->mLayout && opened->warnings().isEmpty() &&
           opened->mDataFormat == mDataFormat && opened->numberOfChannels() == mNumberOfChannels &&
           std::ranges::all_of(pieces, [&](const SoundPiece& piece) {
               return piece.sourceEnd() <= opened->mSoundDataLength / mNumberOfChannels;
           });
}

SeamReport AifcFile::seams() const
{
    return {mNumberOfFrames - numFramesOf(keptPieces()), 0};
}

ByteRange AifcFile::keptBytes() const
{
    return {keptSound()->soundDataOffset(), mSoundDataLength};
}

} // namespace velloria
