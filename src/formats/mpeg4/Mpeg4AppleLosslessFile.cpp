#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"

#include "formats/mpeg4/AppleLosslessSeams.h"

namespace velloria
{

namespace
{

constexpr uint32_t narrowBits = 16;
constexpr uint32_t wideBits = 24;

uint32_t writtenBits(uint32_t bits)
{
    return bits > narrowBits ? wideBits : narrowBits;
}

} // namespace

Mpeg4AppleLosslessFile::Mpeg4AppleLosslessFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : Mpeg4File(sampleRate, sampleSize, numChannels, DataFormat::kAppleLossless)
{
}

Mpeg4AppleLosslessFile::Mpeg4AppleLosslessFile(std::shared_ptr<FileHandle> handle)
    : Mpeg4File(std::move(handle), DataFormat::kAppleLossless)
{
}

QString Mpeg4AppleLosslessFile::fileFormatUTI() const
{
    return QStringLiteral("public.mpeg-4-audio.apple-lossless");
}

FileOptions Mpeg4AppleLosslessFile::fileOptions() const
{
    FileOptions options{QStringLiteral("Sample Size:"), {}, 0};
    for (const uint32_t bits : {narrowBits, wideBits})
        options.items.push_back({static_cast<int>(bits), QStringLiteral("%1 bit").arg(bits)});
    options.selectedTag = static_cast<int>(writtenBits(mBitsPerSample));
    return options;
}

void Mpeg4AppleLosslessFile::validateAndCorrectParameters()
{
    Mpeg4File::validateAndCorrectParameters();
    mBitsPerSample = writtenBits(mBitsPerSample);
}

bool Mpeg4AppleLosslessFile::isConfiguredLike(const Mpeg4File& opened) const
{
    return writtenBits(opened.bitsPerSample()) == mBitsPerSample;
}

/// Whether the packets mean the same here is looked at when they are copied.
bool Mpeg4AppleLosslessFile::takePieces(const AudioFile& source, const SoundPieces&)
{
    const auto* const opened = dynamic_cast<const Mpeg4AppleLosslessFile*>(&source);
    return opened && opened->bitsPerSample() == mBitsPerSample &&
           opened->numberOfChannels() == mNumberOfChannels;
}

std::unique_ptr<Mpeg4Seams> Mpeg4AppleLosslessFile::planSeams(int64_t numFrames) const
{
    const auto* const opened = dynamic_cast<const Mpeg4AppleLosslessFile*>(piecesSource().get());
    return opened ? AppleLosslessSeams::plan(opened->fileHandle(), opened->openedSound().primingFrames,
                                             keptPieces(), numFrames, fileDataFormat())
                  : nullptr;
}

} // namespace velloria
