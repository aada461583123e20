#include "formats/FlacConversion.h"

#include "formats/FileDamage.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Samples decoded at a time: enough that handing them over costs nothing, few enough to stay in the cache.
constexpr int64_t samplesPerBlock = int64_t{1} << 17;

} // namespace

FlacConversion::FlacConversion(std::shared_ptr<const FileHandle> handle, const FlacDescription& description)
    : mHandle(std::move(handle))
    , mDescription(description)
    , mFormat(description.format)
    , mChecksumQueue(QStringLiteral("FlacConversion.checksum"))
{
}

FlacConversion::~FlacConversion()
{
    mChecksumGroup->wait();
}

MaybeError FlacConversion::run(Progress& progress)
{
    const auto decoder = FlacDecoder::open(mHandle, mDescription);
    if (!decoder)
        return Error{Error::Code::failed, QStringLiteral("The FLAC decoder could not be started.")};
    if (MaybeError error = decodeInOrder(*decoder, progress))
        return error;
    mIsDamaged = decoder->isDamaged();
    mHasChangedFormat = decoder->hasChangedFormat();
    if (mNumFrames == 0 && mDescription.numFrames > 0)
        return FileDamage::unreadable(displayName(mHandle->path()),
                                      QStringLiteral("none of its sound can be decoded"));
    if (!mWriter)
        mWriter = std::make_unique<ClipWriter>(static_cast<int32_t>(mFormat.numChannels), mFormat.sampleRate);
    return mWriter->finish();
}

MaybeError FlacConversion::decodeInOrder(FlacDecoder& decoder, Progress& progress)
{
    const bool isChecking = !mDescription.md5.isEmpty();
    const int64_t framesPerBlock =
        samplesPerBlock / std::max<int64_t>(1, static_cast<int64_t>(mFormat.numChannels));
    for (size_t filling = 0; decoder.decode(framesPerBlock, isChecking, mBlocks[filling]); filling ^= 1) {
        // The other block's sum must be complete before it is filled again.
        mChecksumGroup->wait();
        if (MaybeError error = take(mBlocks[filling]))
            return error;
        tellProgress(decoder, progress);
        if (progress.isCancelled())
            return Error::cancelled();
    }
    mChecksumGroup->wait();
    return std::nullopt;
}

MaybeError FlacConversion::take(const FlacBlock& block)
{
    if (!mWriter) {
        mFormat = block.format();
        mWriter = std::make_unique<ClipWriter>(static_cast<int32_t>(mFormat.numChannels), mFormat.sampleRate);
        for (const auto& clip : mWriter->clips())
            clip->setIntegerBits(static_cast<int>(mFormat.bitsPerSample));
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
