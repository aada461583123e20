#include "formats/file/SoundCopy.h"

#include "platform/MissedReads.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Between two looks at Cancel: some hundredths of a second where the kernel has to move the bytes.
constexpr int64_t bytesPerPiece = int64_t{16} << 20;

} // namespace

MaybeError SoundCopyProgress::didCopy(int64_t numBytesSoFar)
{
    const double fraction = static_cast<double>(numBytesSoFar) / static_cast<double>(mNumBytes);
    const auto numToCome = static_cast<double>(std::max<int64_t>(0, mProgress.targetValue() - mFirstMark));
    mProgress.setMarkValue(mFirstMark + static_cast<int64_t>(fraction * numToCome));
    return mProgress.isCancelled() ? MaybeError(Error::cancelled()) : std::nullopt;
}

MaybeError copySound(const FileHandle& source, ByteRange bytes, FileHandle& target, int64_t offset,
                     Progress& progress)
{
    SoundCopyProgress told(progress, bytes.length);
    MaybeError error;
    for (int64_t done = 0; done < bytes.length && !error;) {
        const int64_t wanted = std::min(bytesPerPiece, bytes.length - done);
        const int64_t copied = target.copyFrom(source, bytes.offset + done, offset + done, wanted, &error);
        if (error)
            return error;
        if (copied < wanted) {
            source.noteMissedRead();
            return missedReadsError(source);
        }
        target.startSync(offset + done, copied);
        done += copied;
        error = told.didCopy(done);
    }
    return error;
}

} // namespace velloria
