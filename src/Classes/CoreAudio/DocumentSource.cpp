#include "Classes/CoreAudio/DocumentSource.h"

#include "platform/Log.h"

#include <algorithm>

namespace velloria
{

DocumentSource::DocumentSource(std::shared_ptr<const FrameSource> document)
    : mDocument(std::move(document))
    , mLimit(mDocument->numberOfFrames())
    , mLoopEnd(mDocument->numberOfFrames())
    , mDuration(mDocument->totalTime())
    , mNumTracks(mDocument->trackCount())
{
}

DocumentSource::DocumentSource(std::shared_ptr<const FrameSource> document, const SoundSelection& selection)
    : mDocument(std::move(document))
    , mLimit(mDocument->numberOfFrames())
    , mFirstTrack(selection.firstTrack)
    , mNumTracks(selection.numTracks)
{
    const double start = std::min(selection.startTime, selection.endTime);
    const double end = std::max(selection.startTime, selection.endTime);
    const double rate = mDocument->sampleRate();
    setLoopStart(frameAtTime(start, rate));
    setMark(loopStart());
    setLoopEnd(frameAtTime(end, rate));
    mDuration = end - start;
    if (mFirstTrack == -1) {
        mFirstTrack = 0;
        mNumTracks = mDocument->trackCount();
    }
}

int64_t DocumentSource::selectionNumFrames() const
{
    return frameAtTime(mDuration, mDocument->sampleRate());
}

std::optional<MixerComponent> DocumentSource::mixerComponentOfTrackNumber(int32_t number) const
{
    const TrackList tracks = mDocument->audioTracks();
    const auto index = static_cast<size_t>(static_cast<int64_t>(mFirstTrack) + number);
    if (number < 0 || number >= mNumTracks || index >= tracks->size())
        return std::nullopt;
    return MixerComponent((*tracks)[index]->pan(), (*tracks)[index]->scalarVolume());
}

bool DocumentSource::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (mFirstTrack == -1)
        logLine(QStringLiteral("-[DocumentSource requestDataWithNumFrames:] firstTrack == -1; This should "
                               "not be."));
    const int64_t loopEndFrame = loopEnd();
    const int64_t stop = std::min(loopEndFrame, limit());
    if (isLooping() && mark() >= loopEndFrame)
        setMark(loopStart());
    int64_t start = mark();
    if (stop <= start || numFrames == 0) {
        block.clear();
        return false;
    }
    const uint64_t count = std::min(static_cast<uint64_t>(stop) - static_cast<uint64_t>(start), numFrames);

    const TrackList tracks = mDocument->audioTracks();
    size_t numRead = 0;
    block.resize(static_cast<size_t>(std::max(mNumTracks, 0)));
    for (int32_t i = 0; i < mNumTracks; ++i) {
        // A track that is not there is left out of the block.
        const auto index = static_cast<size_t>(static_cast<int64_t>(mFirstTrack) + i);
        if (index >= tracks->size())
            continue;
        FloatBuffer& buffer = block[numRead++];
        buffer.resize(count);
        (*tracks)[index]->readSamples(start, buffer);
    }
    block.resize(numRead);
    // A mark that was set during the read stays. Relaxed: the mark carries no other data.
    mMark.compare_exchange_strong(start, start + static_cast<int64_t>(count), std::memory_order_relaxed);
    return numRead > 0;
}

} // namespace velloria
