#include "formats/flac/FlacConversion.h"

#include "formats/decoding/FileDamage.h"
#include "formats/decoding/SectionRing.h"
#include "formats/flac/FlacSectionDecoder.h"
#include "formats/ogg/OggPageCheck.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Samples decoded at a time: enough that handing them over costs nothing, few enough to stay in the cache.
constexpr int64_t samplesPerBlock = int64_t{1} << 17;
// Going to a section's start costs some frames that are decoded in vain, so sections are longer.
constexpr int64_t samplesPerSection = int64_t{1} << 20;

int64_t perChannel(int64_t numSamples, const FlacFormat& format)
{
    return numSamples / std::max<int64_t>(1, format.numChannels);
}

} // namespace

FlacConversion::FlacConversion(std::shared_ptr<const FileHandle> handle, const FlacDescription& description,
                               std::function<void()> didBegin)
    : mHandle(std::move(handle))
    , mDescription(description)
    , mDidBegin(std::move(didBegin))
    , mFormat(description.format)
    , mChecksumQueue(QStringLiteral("FlacConversion.checksum"))
{
}

FlacConversion::~FlacConversion()
{
    mChecksumGroup->wait();
}

/// A decoder for each lane and a block for each slot.
struct FlacConversion::Sections {
    explicit Sections(size_t numLanes)
        : decoders(numLanes)
        , blocks(SectionRing::numSlots(numLanes))
        , areSound(blocks.size())
        , ends(blocks.size())
    {
    }

    std::vector<std::unique_ptr<FlacSectionDecoder>> decoders;
    std::vector<FlacBlock> blocks;
    /// Not of bool, whose elements would share bytes.
    std::vector<char> areSound;
    std::vector<int64_t> ends;
};

MaybeError FlacConversion::run(Progress& progress)
{
    MaybeError error;
    if (!decodeSections(progress, &error)) {
        mNumFramesToDrop = mNumFrames;
        error = decodeInOrder(progress);
    }
    if (error)
        return error;
    if (mDescription.container.isOgg)
        checkPages();
    if (mNumFrames == 0 && (mDescription.numFrames > 0 || mIsSoundPromised))
        return FileDamage::unreadable(displayName(mHandle->path()),
                                      QStringLiteral("none of its sound can be decoded"));
    if (!mWriter)
        begin();
    return mWriter->finish();
}

/// The page that is lost may have held tags: where the sum of the samples is right, none of these is missing.
void FlacConversion::checkPages()
{
    const auto serialNumber = static_cast<uint32_t>(mDescription.container.serialNumber);
    const OggPageCheck check = OggPageCheck::ofFile(*mHandle, {serialNumber}, mDescription.container.end);
    const bool isProvedWhole = !mDescription.md5.isEmpty() && !isChecksumWrong() &&
                               mDescription.numFrames > 0 && mNumFrames == mDescription.numFrames;
    mIsDamaged = mIsDamaged || (check.isPageLost && !isProvedWhole);
    mIsSoundPromised = check.isSoundPromised;
}

/// False when the file cannot be decoded that way: it is short, does not know its length, or is damaged.
bool FlacConversion::decodeSections(Progress& progress, MaybeError* error)
{
    const size_t numLanes = SectionRing::numLanesWorthwhile();
    const int64_t numFrames = mDescription.numFrames;
    const int64_t sectionFrames = perChannel(samplesPerSection, mFormat);
    const int64_t numSections = (numFrames + sectionFrames - 1) / sectionFrames;
    if (numLanes < 2 || numSections < 3)
        return false;
    Sections sections(numLanes);
    const bool isChecking = !mDescription.md5.isEmpty();
    const auto decodeSection = [&](size_t lane, size_t slot, int64_t section) {
        std::unique_ptr<FlacSectionDecoder>& decoder = sections.decoders[lane];
        if (!decoder)
            decoder = FlacSectionDecoder::open(mHandle, mDescription);
        const int64_t first = section * sectionFrames;
        sections.areSound[slot] =
            decoder && decoder->decode(first, std::min(sectionFrames, numFrames - first), isChecking,
                                       sections.blocks[slot]);
        sections.ends[slot] = decoder ? decoder->endOfFrame() : 0;
    };
    SectionRing ring(numLanes, numSections, decodeSection);
    while (const auto slot = ring.next()) {
        if (!sections.areSound[*slot])
            return false;
        mEndOfSound = std::max(mEndOfSound, sections.ends[*slot]);
        *error = take(sections.blocks[*slot]);
        progress.setProgressValue(static_cast<double>(mNumFrames) / static_cast<double>(numFrames));
        mChecksumGroup->wait();
        if (!*error && progress.isCancelled())
            *error = Error::cancelled();
        if (*error)
            return true;
    }
    return true;
}

MaybeError FlacConversion::decodeInOrder(Progress& progress)
{
    const auto decoder = FlacDecoder::open(mHandle, mDescription);
    if (!decoder)
        return Error{Error::Code::failed, QStringLiteral("The FLAC decoder could not be started.")};
    MaybeError error = takeInOrder(*decoder, progress);
    mChecksumGroup->wait();
    mEndOfSound = decoder->endOfFrame();
    mFirstFrame = decoder->firstFrame();
    mIsDamaged = decoder->isDamaged();
    mHasChangedFormat = decoder->hasChangedFormat();
    return error;
}

MaybeError FlacConversion::takeInOrder(FlacDecoder& decoder, Progress& progress)
{
    const bool isChecking = !mDescription.md5.isEmpty();
    const int64_t framesPerBlock = perChannel(samplesPerBlock, mFormat);
    for (size_t filling = 0; decoder.decode(framesPerBlock, isChecking, mBlocks[filling]); filling ^= 1) {
        // The other block's sum must be complete before it is filled again.
        mChecksumGroup->wait();
        FlacBlock& block = mBlocks[filling];
        const auto numFramesToDrop = std::min<int64_t>(mNumFramesToDrop, std::ssize(block.samples().front()));
        block.dropFirst(static_cast<size_t>(numFramesToDrop));
        mNumFramesToDrop -= numFramesToDrop;
        if (MaybeError error = take(block))
            return error;
        tellProgress(decoder, progress);
        if (progress.isCancelled())
            return Error::cancelled();
    }
    return std::nullopt;
}

void FlacConversion::begin()
{
    mWriter = std::make_unique<ClipWriter>(static_cast<int32_t>(mFormat.numChannels), mFormat.sampleRate);
    for (const auto& clip : mWriter->clips())
        clip->setStoredSamples({mFormat.bitsPerSample, false, false});
    if (mDidBegin)
        mDidBegin();
}

MaybeError FlacConversion::take(const FlacBlock& block)
{
    if (!mWriter) {
        mFormat = block.format();
        begin();
    }
    mNumFrames += static_cast<int64_t>(block.numFrames());
    if (!block.packed().empty()) {
        mChecksumQueue.async(mChecksumGroup, [this, &block] {
            const auto& bytes = block.packed();
            mChecksum.addData(
                {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())});
        });
    }
    return mWriter->append(block.samples());
}

void FlacConversion::tellProgress(const FlacDecoder& decoder, Progress& progress) const
{
    const double done = mDescription.numFrames > 0
                            ? static_cast<double>(mNumFrames) / static_cast<double>(mDescription.numFrames)
                            : static_cast<double>(decoder.position()) /
                                  static_cast<double>(std::max<int64_t>(1, mHandle->length()));
    progress.setProgressValue(std::min(1.0, done));
}

bool FlacConversion::isChecksumWrong() const
{
    const bool isWhole = mDescription.numFrames == 0 || mNumFrames == mDescription.numFrames;
    return isWhole && !mDescription.md5.isEmpty() && mChecksum.result() != mDescription.md5;
}

QStringList FlacConversion::warnings(const QString& name) const
{
    QStringList warnings;
    if (!mDescription.isComplete)
        warnings += FileDamage::tagsUnreadable(name);
    if (mHasChangedFormat)
        warnings += FileDamage::soundChangesFormat(name);
    else if (mNumFrames < mDescription.numFrames)
        warnings += FileDamage::soundCutShort(name);
    if (mIsDamaged)
        warnings += FileDamage::soundDamaged(name);
    else if (!mHasChangedFormat && isChecksumWrong())
        warnings += FileDamage::checksumWrong(name);
    return warnings;
}

} // namespace velloria
