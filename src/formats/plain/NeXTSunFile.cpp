#include "formats/plain/NeXTSunFile.h"

#include "formats/chunks/UnusedBytes.h"
#include "formats/decoding/FileDamage.h"
#include "formats/file/RateLoss.h"
#include "formats/streams/BigEndianInputStream.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "formats/streams/ByteText.h"
#include "formats/streams/EndianSwap.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr FourCharCode magic = fourCharCode(".snd");
constexpr int64_t shortestHeader = 24;
constexpr int64_t largestFile = 0xFFFFFFFF;
// What a program writes that does not know the size yet.
constexpr int64_t unknownSize = 0xFFFFFFFF;
// Beyond what any converter or radio delivers, and any recording has.
constexpr double highestSampleRate = 100'000'000.0;
constexpr uint32_t mostChannels = 65535;
constexpr uint32_t widestSample = 32;
constexpr int64_t longestAnnotation = int64_t{1} << 20;

struct SampleFormat {
    uint32_t encoding;
    uint32_t bits;
    bool isFloat;
};

constexpr std::array sampleFormats = {SampleFormat{2, 8, false},  SampleFormat{3, 16, false},
                                      SampleFormat{4, 24, false}, SampleFormat{5, 32, false},
                                      SampleFormat{6, 32, true},  SampleFormat{7, 64, true}};

struct EncodingName {
    uint32_t encoding;
    const char* name;
};

constexpr std::array encodingNames = {
    EncodingName{1, "mu-law"},       EncodingName{23, "G.721 ADPCM"}, EncodingName{24, "G.722 ADPCM"},
    EncodingName{25, "G.723 ADPCM"}, EncodingName{26, "G.723 ADPCM"}, EncodingName{27, "A-law"},
};

/// The code for integers of at least so many bits; 0 beyond 32, which no reader takes for integers.
uint32_t encodingForBits(uint32_t bits)
{
    for (const SampleFormat& format : sampleFormats) {
        if (!format.isFloat && format.bits >= bits)
            return format.encoding;
    }
    return 0;
}

FourCharCode identAt(const FileHandle& handle, int64_t offset)
{
    const QByteArray bytes = handle.readAt(offset, 4);
    return bytes.size() == 4 ? qFromBigEndian<quint32>(bytes.constData()) : 0;
}

uint32_t readUInt32(BigEndianInputStream& stream)
{
    return static_cast<uint32_t>(stream.readSInt32());
}

} // namespace

NeXTSunFile::NeXTSunFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
}

NeXTSunFile::NeXTSunFile(std::shared_ptr<FileHandle> handle)
    : AudioFile(std::move(handle))
{
}

bool NeXTSunFile::validateFileHeader(const FileHandle& handle)
{
    return handle.length() >= shortestHeader && identAt(handle, 0) == magic;
}

std::shared_ptr<AudioFile> NeXTSunFile::open(std::shared_ptr<FileHandle> handle, MaybeError* error)
{
    if (!validateFileHeader(*handle))
        return nullptr;
    const std::shared_ptr<NeXTSunFile> file(new NeXTSunFile(std::move(handle)));
    const MaybeError failure = file->readHeader();
    if (!failure)
        return file;
    if (error)
        *error = failure;
    return nullptr;
}

QString NeXTSunFile::fileFormatUTI() const
{
    return QStringLiteral("public.ulaw-audio");
}

QString NeXTSunFile::encodingDescription() const
{
    if (!requiresConversion() && (!mKeepsEncoding || mIsFloat))
        return AudioFile::encodingDescription();
    for (const EncodingName& each : encodingNames) {
        if (each.encoding == mEncoding)
            return QString::fromLatin1(each.name);
    }
    return QStringLiteral("encoding %1").arg(mEncoding);
}

QString NeXTSunFile::name() const
{
    return displayName(filePath());
}

MaybeError NeXTSunFile::readHeader()
{
    BigEndianInputStream stream(readRawDataAtOffset(4, shortestHeader - 4));
    mSoundDataOffset = readUInt32(stream);
    const int64_t numBytes = readUInt32(stream);
    mEncoding = readUInt32(stream);
    mSampleRate = readUInt32(stream);
    mNumberOfChannels = readUInt32(stream);
    mDataFormat = fourCharCode("lpcm");
    if (auto failure = checkHeader())
        return failure;
    readSampleFormat();
    readSoundDataSize(numBytes);
    mLedger.addStructure({0, shortestHeader});
    readAnnotation();
    declareSound();
    return std::nullopt;
}

MaybeError NeXTSunFile::checkHeader() const
{
    if (mSoundDataOffset < shortestHeader)
        return FileDamage::unreadable(
            name(), QStringLiteral("its header says that the sound begins at byte %1").arg(mSoundDataOffset));
    if (mNumberOfChannels == 0)
        return FileDamage::unreadable(name(), QStringLiteral("its header says that it has no channels"));
    if (mNumberOfChannels > mostChannels)
        return FileDamage::unreadable(
            name(), QStringLiteral("its header says that it has %1 channels").arg(mNumberOfChannels));
    if (mSampleRate < 1.0 || mSampleRate > highestSampleRate) {
        return FileDamage::unreadable(
            name(),
            QStringLiteral("its header gives a sample rate of %1 Hz").arg(static_cast<int64_t>(mSampleRate)));
    }
    return std::nullopt;
}

void NeXTSunFile::readSampleFormat()
{
    const auto* const format =
        std::find_if(sampleFormats.begin(), sampleFormats.end(),
                     [this](const SampleFormat& each) { return each.encoding == mEncoding; });
    mRequiresConversion = format == sampleFormats.end();
    if (!mRequiresConversion) {
        mBitsPerSample = format->bits;
        mIsFloat = format->isFloat;
    }
}

void NeXTSunFile::readSoundDataSize(int64_t numBytes)
{
    const int64_t numBytesThere = std::max<int64_t>(0, lengthOfFile() - mSoundDataOffset);
    if (numBytes == unknownSize)
        numBytes = numBytesThere;
    if (numBytes == 0 && numBytesThere > 0) {
        numBytes = numBytesThere;
        mWarnings.append(FileDamage::headerNeverCompleted(name()));
    } else if (numBytes > numBytesThere || lengthOfFile() < mSoundDataOffset) {
        numBytes = numBytesThere;
        mWarnings.append(FileDamage::soundCutShort(name()));
    }
    mNumBytesOfSound = numBytes;
    if (requiresConversion())
        mHoldsNoSound = numBytes == 0;
    else
        mNumberOfFrames = numBytes / frameSize();
}

/// What stands between header and sound: a text up to the first zero, or something else that stays as it is.
void NeXTSunFile::readAnnotation()
{
    const ByteRange bytes = {shortestHeader, std::min(mSoundDataOffset, lengthOfFile()) - shortestHeader};
    if (bytes.length <= longestAnnotation)
        mAnnotation = readRawDataAtOffset(bytes.offset, bytes.length);
    const QByteArray text = ByteText::bytesOfText(mAnnotation);
    const auto isNoText = [](char byte) {
        return static_cast<unsigned char>(byte) < ' ' && !QByteArrayView("\t\n\r").contains(byte);
    };
    const bool isText = std::none_of(text.begin(), text.end(), isNoText);
    const int64_t textLength = isText ? text.size() : 0;
    if (isText && !text.trimmed().isEmpty())
        mMetadata.setComments(ByteText::stringOf(text));
    mLedger.addInModel({bytes.offset, textLength});
    const ByteRange rest = {bytes.offset + textLength, bytes.length - textLength};
    const bool isFiller =
        rest.length <= longestAnnotation && fileHandle()->holdsOnlyZeros(rest.offset, rest.length);
    if (isFiller)
        mLedger.addStructure(rest);
    else
        mLedger.add({ItemKind::part, bytes.length <= longestAnnotation ? Keeping::asBytes : Keeping::notKept,
                     QStringLiteral("annotation of %1 bytes").arg(rest.length), rest});
}

const NeXTSunFile* NeXTSunFile::editedFile() const
{
    return dynamic_cast<const NeXTSunFile*>(openedFile().get());
}

/// True where it goes on to say what the metadata do.
bool NeXTSunFile::keepsAnnotation() const
{
    const NeXTSunFile* const edited = editedFile();
    return edited && edited->metadata().comments() == mMetadata.comments() && edited->mSoundDataOffset > 0;
}

/// Four zero bytes where there is nothing to say; a text ends with a zero and fills whole words.
QByteArray NeXTSunFile::annotationToWrite() const
{
    constexpr qsizetype wordLength = 4;
    if (keepsAnnotation())
        return editedFile()->mAnnotation;
    const NeXTSunFile* const edited = editedFile();
    const bool isWindows1252 = edited && !ByteText::isUtf8(ByteText::bytesOfText(edited->mAnnotation));
    const QByteArray text =
        ByteText::bytesOfText(ByteText::textOf(mMetadata.comments(), isWindows1252)).left(longestAnnotation);
    return text + QByteArray(wordLength - text.size() % wordLength, '\0');
}

MetadataDictionary NeXTSunFile::writtenTags() const
{
    AudioMetadata found;
    found.setComments(ByteText::stringOf(ByteText::bytesOfText(mMetadata.comments().toUtf8())));
    return found.dictionary();
}

bool NeXTSunFile::willWrite(const FileItem& item) const
{
    return item.keeping == Keeping::asBytes ? keepsAnnotation() : AudioFile::willWrite(item);
}

void NeXTSunFile::declareSound()
{
    const int64_t length = lengthOfFile();
    const int64_t start = std::min(mSoundDataOffset, length);
    const int64_t numBytes = requiresConversion() ? mNumBytesOfSound : mNumberOfFrames * frameSize();
    mLedger.addInModel({start, numBytes});
    declareUnused(mLedger, *fileHandle(), {start + numBytes, length - start - numBytes},
                  QStringLiteral("%1 bytes behind the sound"));
}

int64_t NeXTSunFile::readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const
{
    const int64_t numRead = AudioFile::readAudioDataAtOffset(offset, out);
    const std::span<std::byte> samples = out.first(static_cast<size_t>(numRead));
    if (mBitsPerSample == 64)
        endianSwapDoubles(samples);
    else
        endianSwapData(samples, mBitsPerSample);
    return numRead;
}

MaybeError NeXTSunFile::writeAudioData(std::span<std::byte> data, int64_t offset)
{
    endianSwapData(data, mBitsPerSample);
    return AudioFile::writeAudioData(data, offset);
}

void NeXTSunFile::validateAndCorrectParameters()
{
    AudioFile::validateAndCorrectParameters();
    // Wider integers (offered to a document of 64-bit floats) could only be written as zeros.
    mBitsPerSample = std::min(mBitsPerSample, widestSample);
    // There is room for remarks, and nothing else.
    mCanSaveMetadata = !mMetadata.comments().isEmpty();
}

QStringList NeXTSunFile::soundLosses() const
{
    return lossOfRateFraction(mSampleRate);
}

bool NeXTSunFile::writeHeader(MaybeError* error)
{
    mAnnotation = annotationToWrite();
    mSoundDataOffset = shortestHeader + mAnnotation.size();
    mIsFloat = mIsFloat && mKeepsEncoding;
    mIsLittleEndian = false;
    const uint32_t encoding = mKeepsEncoding ? mEncoding : encodingForBits(mBitsPerSample);
    if (encoding != 0 && !mKeepsEncoding)
        mBitsPerSample = std::max(8U, (mBitsPerSample + 7) / 8 * 8);
    // Compared by division: the product of absurd numbers need not fit 64 bits.
    if (!mKeepsEncoding &&
        mNumberOfFrames > (largestFile - mSoundDataOffset) / std::max<int64_t>(1, frameSize()))
        return false;

    BigEndianOutputStream header;
    header.writeUInt32(magic);
    header.writeUInt32(static_cast<uint32_t>(mSoundDataOffset));
    header.writeUInt32(
        static_cast<uint32_t>(mKeepsEncoding ? mNumBytesOfSound : mNumberOfFrames * frameSize()));
    header.writeUInt32(encoding);
    header.writeUInt32(static_cast<uint32_t>(std::clamp(std::round(mSampleRate), 0.0, 4294967295.0)));
    header.writeUInt32(mNumberOfChannels);
    header.appendData(mAnnotation);
    const MaybeError failure = writeRawData(header.data(), 0);
    if (failure && error)
        *error = failure;
    return !failure;
}

/// Companded sound, ADPCM and floats, none of which is written otherwise.
bool NeXTSunFile::takeSound(const AudioFile& source)
{
    const auto* const opened = dynamic_cast<const NeXTSunFile*>(&source);
    const bool isOther =
        opened && (opened->requiresConversion() || opened->isFloat() || opened->mKeepsEncoding);
    if (!isOther || mIsOptionChosen || !opened->warnings().isEmpty() || opened->mNumBytesOfSound <= 0 ||
        opened->mNumBytesOfSound > largestFile - opened->mSoundDataOffset)
        return false;
    mKeepsEncoding = true;
    mEncoding = opened->mEncoding;
    mIsFloat = opened->mIsFloat;
    mBitsPerSample = opened->mBitsPerSample;
    mNumBytesOfSound = opened->mNumBytesOfSound;
    return true;
}

ByteRange NeXTSunFile::keptBytes() const
{
    return {keptSound()->soundDataOffset(), mNumBytesOfSound};
}

} // namespace velloria
