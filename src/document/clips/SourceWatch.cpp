#include "document/clips/SourceWatch.h"

#include "document/clips/TempFile.h"
#include "platform/MissedReads.h"

namespace velloria
{

namespace
{

Error changedError(const FileHandle& handle)
{
    return {
        Error::Code::sourceChanged,
        QStringLiteral("“%1” was changed by another program since it was opened; sound that is read from it "
                       "may be different or missing. Open it again.")
            .arg(displayName(handle.path()))};
}

Error missedError(const FileHandle& handle)
{
    return {Error::Code::sourceChanged, missedReadsError(handle).message};
}

} // namespace

SourceWatch::SourceWatch(std::span<const AudioTrackPtr> tracks)
{
    for (const AudioTrackPtr& track : tracks)
        add(*track);
}

void SourceWatch::add(const ClipList& clips)
{
    clips.forEachFrom(0, [this](const AudioClipPtr& clip, int64_t) {
        clip->addSourcesTo(*this);
        return true;
    });
}

void SourceWatch::add(const std::shared_ptr<const SampleSource>& source)
{
    for (const FileHandle* handle : source->sourceHandles())
        add(handle, source, false);
}

void SourceWatch::add(const std::shared_ptr<TempFile>& file)
{
    add(file->fileHandle().get(), file, true);
}

void SourceWatch::add(const std::shared_ptr<const FileHandle>& file)
{
    add(file.get(), file, false);
}

void SourceWatch::add(const FileHandle* handle, std::shared_ptr<const void> owner, bool mayChange)
{
    if (handle && !mFiles.contains(handle))
        mFiles.emplace(handle, Watched{std::move(owner), mayChange, handle->numMissedReads()});
}

MaybeError SourceWatch::error() const
{
    std::map<QString, Error> errors;
    for (const auto& [handle, watched] : mFiles) {
        if (!watched.mayChange && handle->hasChangedOnDisk())
            errors.emplace(displayName(handle->path()), changedError(*handle));
        else if (handle->numMissedReads() != watched.numMissedReads)
            errors.emplace(displayName(handle->path()), missedError(*handle));
    }
    return errors.empty() ? std::nullopt : MaybeError(errors.begin()->second);
}

} // namespace velloria
