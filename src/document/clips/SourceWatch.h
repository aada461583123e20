#pragma once

#include "document/clips/AudioTrack.h"
#include "platform/Error.h"

#include <map>

namespace velloria
{

class FileHandle;
class TempFile;

/// Watches the files that tracks are read from while an operation makes something new of their sound. Reading
/// itself never fails, because drawing and playing go on with silence where a file was cut off; what is kept
/// must not: whoever writes or computes sound asks here, at the end, whether it was all there.
///
///     const SourceWatch watch(tracks);
///     ... read, compute ...
///     if (auto error = watch.error()) ... drop the result
class SourceWatch
{
public:
    SourceWatch() = default;
    explicit SourceWatch(std::span<const AudioTrackPtr> tracks);

    void add(const AudioTrack& track) { add(track.clips()); }
    void add(const ClipList& clips);
    void add(const std::shared_ptr<const SampleSource>& source);
    void add(const std::shared_ptr<TempFile>& file);
    /// For a file that is read apart from its samples.
    void add(const std::shared_ptr<const FileHandle>& file);

    /// An error that names the first file, by name, that was changed since it was opened, or of which some
    /// could not be read since the watch began. Any thread.
    MaybeError error() const;

private:
    struct Watched {
        std::shared_ptr<const void> owner; ///< keeps the handle
        /// Scratch files grow while they are read, so their times say nothing.
        bool mayChange = false;
        int64_t numMissedReads = 0;
    };

    void add(const FileHandle* handle, std::shared_ptr<const void> owner, bool mayChange);

    std::map<const FileHandle*, Watched> mFiles;
};

} // namespace velloria
