#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"
#include "platform/Progress.h"

namespace velloria
{

/// Tells a progress how much of the bytes of a sound is copied: from where it stood at first to its target.
class SoundCopyProgress
{
public:
    SoundCopyProgress(Progress& progress, int64_t numBytes)
        : mProgress(progress)
        , mFirstMark(progress.markValue())
        , mNumBytes(numBytes)
    {
    }
    /// The user-cancelled error, where the person has had enough.
    MaybeError didCopy(int64_t numBytesSoFar);

private:
    Progress& mProgress;
    const int64_t mFirstMark;
    const int64_t mNumBytes;
};

/// Copies a run of an opened file's bytes into one that is being written, inside the kernel where it can,
/// while the disk begins on what is there. An error when the opened file turns out to be shorter.
MaybeError copySound(const FileHandle& source, ByteRange bytes, FileHandle& target, int64_t offset,
                     Progress& progress);

} // namespace velloria
