#include "effects/frame/ResultReader.h"

#include "effects/frame/Filter.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// Small enough for the cache and for memory that the allocator keeps, large enough that another core is
/// worth waking for it.
constexpr int64_t kFramesPerStep = 32768;

/// Tracks as they were, of a document that has others since.
class TracksBefore final : public FrameSource
{
public:
    explicit TracksBefore(const FrameSource& document)
        : mTracks(document.audioTracks())
        , mNumFrames(document.numberOfFrames())
        , mSampleRate(document.sampleRate())
    {
    }
    int64_t numberOfFrames() const override { return mNumFrames; }
    double sampleRate() const override { return mSampleRate; }
    TrackList audioTracks() const override { return mTracks; }

private:
    const TrackList mTracks;
    const int64_t mNumFrames;
    const double mSampleRate;
};

} // namespace

ResultReader::ResultReader(std::shared_ptr<Filter> filter)
    : SequentialReader(static_cast<size_t>(filter->numTracks()))
    , mFilter(std::move(filter))
{
    const DocumentSource& source = *mFilter->source();
    mSource = std::make_shared<DocumentSource>(std::make_shared<TracksBefore>(*source.document()));
    mSource->setFirstTrack(source.firstTrack());
    mSource->setNumTracks(source.numTracks());
    mSource->setLoopStart(source.loopStart());
    mSource->setLoopEnd(source.loopEnd());
    mSource->setDuration(source.duration());
    mSource->setLimit(source.limit());
}

ResultReader::~ResultReader()
{
    if (mFilter->source() == mSource)
        mFilter->processingFinished();
}

void ResultReader::begin()
{
    // Only now: until the document has the result, the effect still needs its own.
    mFilter->setSource(mSource);
    mFilter->beginReadingAhead();
    mNumFramesToCome = mFilter->outputNumFrames();
}

bool ResultReader::computeSome(std::vector<FloatBuffer>& frames)
{
    const int64_t count = std::min(mNumFramesToCome, kFramesPerStep);
    mNumFramesToCome -= count;
    const size_t numTracks = frames.size();
    return count > 0 && mFilter->requestDataWithNumFrames(static_cast<uint64_t>(count), frames) &&
           frames.size() == numTracks;
}

} // namespace velloria
