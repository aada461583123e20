#include "formats/vorbis/VorbisStream.h"

#include "platform/Log.h"

#include <algorithm>
#include <cstdio>
#include <numeric>

namespace velloria
{

namespace
{

constexpr int framesPerRead = 1024;

} // namespace

/// What the library calls; `source` is the VorbisStream.
struct VorbisStream::Callbacks {
    static size_t read(void* out, size_t size, size_t count, void* source)
    {
        auto& stream = *static_cast<VorbisStream*>(source);
        const std::span bytes(static_cast<std::byte*>(out), size * count);
        const int64_t numRead = stream.mPages->readAt(*stream.mHandle, stream.mPosition, bytes);
        stream.mPosition += numRead;
        return static_cast<size_t>(numRead) / std::max<size_t>(1, size);
    }

    static int seek(void* source, ogg_int64_t offset, int whence)
    {
        auto& stream = *static_cast<VorbisStream*>(source);
        const int64_t base = whence == SEEK_CUR   ? stream.mPosition
                             : whence == SEEK_END ? stream.mPages->length()
                                                  : 0;
        if (base + offset < 0)
            return -1;
        stream.mPosition = base + offset;
        return 0;
    }

    static long tell(void* source) { return static_cast<VorbisStream*>(source)->mPosition; }

    static constexpr ov_callbacks all = {read, seek, nullptr, tell};
};

VorbisStream::VorbisStream(std::shared_ptr<const FileHandle> handle)
    : mHandle(std::move(handle))
{
}

VorbisStream::~VorbisStream()
{
    close();
}

void VorbisStream::close()
{
    if (!mPages)
        return;
    if (const int status = ov_clear(&mFile))
        logLine(QStringLiteral("ov_clear() error: %1").arg(status));
    mPages = nullptr;
}

bool VorbisStream::isVorbis(std::shared_ptr<const FileHandle> handle)
{
    VorbisStream stream(std::move(handle));
    // Whether other streams stand beside it does not matter here.
    VorbisLink all(0);
    all.add({0, stream.mHandle->length()});
    stream.mPages = std::make_shared<const VorbisLink>(std::move(all));
    if (ov_test_callbacks(&stream, &stream.mFile, nullptr, 0, Callbacks::all) == 0)
        return true;
    stream.mPages = nullptr;
    return false;
}

std::unique_ptr<VorbisStream> VorbisStream::open(std::shared_ptr<const FileHandle> handle, int* status)
{
    std::unique_ptr<VorbisStream> stream(new VorbisStream(std::move(handle)));
    *status = OV_ENOTVORBIS;
    for (VorbisLink& link : vorbisLinksOf(*stream->mHandle)) {
        const auto pages = std::make_shared<const VorbisLink>(std::move(link));
        const int result = stream->openPages(pages);
        if (stream->mLinks.empty())
            *status = result;
        stream->mIsBroken = result != 0;
        if (result != 0 || !stream->takeLink(pages))
            break;
    }
    return stream->mLinks.empty() ? nullptr : std::move(stream);
}

std::unique_ptr<VorbisStream> VorbisStream::another() const
{
    std::unique_ptr<VorbisStream> stream(new VorbisStream(mHandle));
    stream->mLinks = mLinks;
    stream->mNumChannels = mNumChannels;
    stream->mSampleRate = mSampleRate;
    stream->mNumFrames = mNumFrames;
    return stream;
}

/// Gives the library's status.
int VorbisStream::openPages(const std::shared_ptr<const VorbisLink>& pages)
{
    close();
    mPosition = 0;
    mPages = pages;
    const int status = ov_open_callbacks(this, &mFile, nullptr, 0, Callbacks::all);
    if (status != 0)
        mPages = nullptr;
    return status;
}

bool VorbisStream::openLink(int index)
{
    const auto& pages = linkAt(index).pages;
    return mPages == pages || openPages(pages) == 0;
}

/// Of the stream that was just opened. False where another format begins.
bool VorbisStream::takeLink(const std::shared_ptr<const VorbisLink>& pages)
{
    const vorbis_info* const info = ov_info(&mFile, -1);
    const auto numChannels = static_cast<size_t>(info->channels);
    const auto sampleRate = static_cast<double>(info->rate);
    mChangesFormat = !mLinks.empty() && (numChannels != mNumChannels || sampleRate != mSampleRate);
    if (mChangesFormat)
        return false;
    Link link = {pages, mNumFrames, std::max<int64_t>(0, ov_pcm_total(&mFile, -1)), {}};
    if (const vorbis_comment* const block = ov_comment(&mFile, -1)) {
        for (int i = 0; i < block->comments; ++i)
            link.comments.add({block->user_comments[i], static_cast<size_t>(block->comment_lengths[i])});
    }
    const int64_t bitRate = std::max<int64_t>(0, ov_bitrate(&mFile, -1));
    mNumFrames += link.numFrames;
    // On average over all.
    if (mNumFrames > 0)
        mBitRate += (bitRate - mBitRate) * link.numFrames / mNumFrames;
    if (mLinks.empty())
        describeFirst();
    mLinks.push_back(std::move(link));
    return true;
}

/// An encoder that follows a quality leaves the limits at 0, one that follows a rate without limits at -1.
void VorbisStream::describeFirst()
{
    const vorbis_info& info = *ov_info(&mFile, -1);
    mNumChannels = static_cast<size_t>(info.channels);
    mSampleRate = static_cast<double>(info.rate);
    // The library keeps for each stream where it begins and how long it is.
    mStartSeconds = static_cast<double>(std::max<int64_t>(0, mFile.pcmlengths[0])) / mSampleRate;
    mNominalBitRate = std::max(0L, info.bitrate_nominal);
    mHasManagedBitRate = info.bitrate_lower != 0 || info.bitrate_upper != 0;
    const vorbis_comment* const block = ov_comment(&mFile, -1);
    if (!block)
        return;
    QList<QByteArray> entries;
    for (int i = 0; i < block->comments; ++i)
        entries.append(QByteArray(block->user_comments[i], block->comment_lengths[i]));
    mCommentBytes =
        std::accumulate(block->comment_lengths, block->comment_lengths + block->comments, int64_t{0});
    mCommentPacket.setVendor(block->vendor);
    mCommentPacket.setEntries(entries);
}

int64_t VorbisStream::read(float*** channels)
{
    while (mLink < numLinks()) {
        // What could be opened a moment ago and now cannot was changed meanwhile.
        if (!openLink(mLink)) {
            mIsDamaged = true;
            return 0;
        }
        const int64_t numFrames = ov_read_float(&mFile, channels, framesPerRead, nullptr);
        if (numFrames > 0) {
            mFramePosition = linkAt(mLink).firstFrame + ov_pcm_tell(&mFile) - numFrames;
            return numFrames;
        }
        if (numFrames == 0) {
            ++mLink;
            continue;
        }
        mIsDamaged = true;
        // A stream whose headers are damaged cannot be read on; behind a hole there may be more.
        if (numFrames != OV_HOLE)
            ++mLink;
    }
    return 0;
}

bool VorbisStream::seek(int64_t frame)
{
    int index = 0;
    while (index + 1 < numLinks() && linkAt(index + 1).firstFrame <= frame)
        ++index;
    mLink = index;
    return openLink(index) && ov_pcm_seek(&mFile, frame - linkAt(index).firstFrame) == 0;
}

} // namespace velloria
