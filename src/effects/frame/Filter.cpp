#include "effects/frame/Filter.h"

#include "document/UndoGroup.h"
#include "document/clips/ClipWriter.h"
#include "document/clips/ComputedSound.h"
#include "effects/frame/ReadAhead.h"
#include "effects/frame/ResultReader.h"
#include "effects/frame/TailMixer.h"
#include "platform/Log.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

constexpr uint64_t kDefaultBufferNumFrames = 2048;
/// An analysis reads about as much at once: it costs the file system less a frame.
constexpr int64_t kAnalysisReadNumFrames = 65536;
constexpr double kFadeSecondsOfCutTail = 1.0;

const std::vector<ParameterDescription>& noParameters()
{
    static const std::vector<ParameterDescription> none;
    return none;
}

} // namespace

Filter::Filter(const QString& name)
    : Filter(name, noParameters())
{
}

Filter::Filter(const QString& name, const std::vector<ParameterDescription>& parameters)
    : mParameters(parameters)
    , mHasOptionsDialog(!parameters.empty())
{
    setName(name);
    mParameters.addObserver([this](size_t index) { parameterDidChange(index); });
}

Filter::~Filter() = default;

void Filter::setName(const QString& name)
{
    const bool hasEllipsis = name.size() >= 4 && name.endsWith(QLatin1String("..."));
    mName = hasEllipsis ? name.chopped(3) : name;
}

void Filter::editParameter(size_t index, double value)
{
    mParameters.setValue(index, value);
    parameterWasEdited(index);
}

QByteArray Filter::presetData() const
{
    return presetFormat() ? PresetRecord::write(*presetFormat(), mParameters) : QByteArray();
}

MaybeError Filter::loadPresetData(const QByteArray& data)
{
    return presetFormat() ? PresetRecord::read(*presetFormat(), data, mParameters) : std::nullopt;
}

void Filter::setSource(std::shared_ptr<DocumentSource> source)
{
    mSource = std::move(source);
    mMeasuredTracks.reset();
}

double Filter::sampleRate() const
{
    return mSource->document()->sampleRate();
}

int64_t Filter::numFrames() const
{
    return mSource->selectionNumFrames();
}

int32_t Filter::numTracks() const
{
    return mSource->numTracks();
}

void Filter::processingWillBegin()
{
    if (mMaxBufferNumFrames == 0) {
        logLine(QStringLiteral("-[Filter processingWillBegin:] maxBufferNumFrames == 0"));
        mMaxBufferNumFrames = kDefaultBufferNumFrames;
    }
    int64_t latency = latencyNumFrames();
    mSource->setMark(mSource->loopStart() - latency);
    SampleBlock discarded;
    while (latency > 0) {
        const uint64_t count = std::min(static_cast<uint64_t>(latency), mMaxBufferNumFrames);
        requestDataWithNumFrames(count, discarded);
        latency -= static_cast<int64_t>(count);
    }
}

void Filter::begin()
{
    mReadAhead.reset();
    mNumSilentGiven = 0;
    mNumSilentToCome = 0;
    mSource->setMark(mSource->loopStart());
    processingWillBegin();
    mNumSilentToCome = lagNumFrames() + numFramesRinging();
    SampleBlock discarded;
    for (int64_t lag = lagNumFrames(); lag > 0;) {
        const int64_t count = std::min(lag, static_cast<int64_t>(mMaxBufferNumFrames));
        requestDataWithNumFrames(static_cast<uint64_t>(count), discarded);
        lag -= count;
    }
}

void Filter::beginReadingAhead()
{
    begin();
    mReadAhead = std::make_unique<ReadAhead>();
}

bool Filter::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    const bool isRead = mReadAhead ? mReadAhead->requestData(*mSource, numFrames, block)
                                   : mSource->requestDataWithNumFrames(numFrames, block);
    if (isRead)
        mNumTracksRead = block.size();
    // A loop has no end, and what is late or rings on is heard in its next round.
    const bool isSilenceToCome = mNumSilentToCome > 0 && !mSource->isLooping();
    return isSilenceToCome ? addSilence(numFrames, block) : isRead;
}

int64_t Filter::numFramesRinging() const
{
    return letsRing() ? std::max<int64_t>(0, tailTimeNumFrames()) : 0;
}

/// Fills the block up with some of the silence that follows the selection.
bool Filter::addSilence(uint64_t numFrames, SampleBlock& block)
{
    const size_t numRead = block.empty() ? 0 : block.front().size();
    const auto count = std::min(static_cast<int64_t>(numFrames - numRead), mNumSilentToCome);
    mNumSilentToCome -= count;
    mNumSilentGiven += count;
    block.resize(mNumTracksRead);
    for (FloatBuffer& buffer : block) {
        buffer.resize(numRead);
        buffer.resize(numRead + static_cast<size_t>(count), 0.0F);
    }
    return !block.empty() && !block.front().empty();
}

int64_t Filter::heardFrame() const
{
    const int64_t start = mSource->loopStart();
    const int64_t end = mSource->loopEnd();
    int64_t frame = mSource->mark();
    const bool isLooping = mSource->isLooping() && end > start;
    if (isLooping && frame >= end)
        frame = start;
    frame += mNumSilentGiven - lagNumFrames();
    if (isLooping && frame < start)
        frame = end - 1 - (start - 1 - frame) % (end - start);
    return frame;
}

MaybeError Filter::apply()
{
    mWasCancelled = false;
    const int64_t total = numFrames();
    const int64_t offset = mSource->loopStart();
    if (total <= 0)
        return std::nullopt;
    const SourceWatch watch = watchSources();
    const std::unique_ptr<ClipWriter> writer = makeWriter();
    if (mDelegate)
        mDelegate->filterDidReachProgress(*this, 0.0);
    if (const std::vector<ClipList> rearranged = rearrangedClips(); !rearranged.empty()) {
        const bool isCancelled = didReachProgress(total, total);
        didFinishProgress();
        if (!isCancelled)
            installRearranged(offset, total, rearranged);
        return std::nullopt;
    }
    if (mMaxBufferNumFrames == 0) {
        logLine(QStringLiteral("-[Filter apply] maxBufferNumFrames == 0"));
        return std::nullopt;
    }
    mSource->setLooping(false);
    const int64_t numInPlace = outputNumFrames();
    const int64_t numRinging = numFramesRinging();
    const int64_t numToAnalyse = needsAnalysis() ? total : 0;
    MaybeError error;
    std::vector<AudioClipPtr> clips;
    const bool isReady = numToAnalyse == 0 || analyse(numToAnalyse + numInPlace + numRinging);
    if (isReady && !leavesSound())
        error = compute(*writer, numToAnalyse, numInPlace, numRinging, clips);
    didFinishProgress();
    processingFinished();
    // Also before it is said that the sound stays as it is: that was read, too.
    if (!error && !mWasCancelled && !(error = watch.error()))
        replaceSelectionWithClips(offset, total, clips, numRinging);
    return error;
}

bool Filter::leavesSound() const
{
    const std::optional<EffectRemark> said = remark();
    return said && said->leavesSound();
}

MaybeError Filter::compute(ClipWriter& writer, int64_t numAnalysed, int64_t numInPlace, int64_t numRinging,
                           std::vector<AudioClipPtr>& clips)
{
    begin();
    clips = computedClips();
    if (!clips.empty())
        return std::nullopt;
    MaybeError error = ComputedSound::lackOfRoom(numInPlace + numRinging, numTracks());
    if (!error)
        error = processSelection(writer, numAnalysed, numInPlace, numRinging);
    if (!error && !mWasCancelled)
        error = writer.finish();
    clips.assign(writer.clips().begin(), writer.clips().end());
    return error;
}

bool Filter::analyse(int64_t numTotal)
{
    const auto numAtOnce = static_cast<int64_t>(std::clamp<uint64_t>(mMaxBufferNumFrames, 1, INT32_MAX));
    const int64_t numToRead = std::max<int64_t>(1, kAnalysisReadNumFrames / numAtOnce) * numAtOnce;
    const int64_t total = numFrames();
    SampleBlock data;
    std::vector<std::span<const float>> tracks;
    analysisWillBegin();
    mSource->setMark(mSource->loopStart());
    for (int64_t numDone = 0; numDone < total;) {
        const auto numAsked = static_cast<uint64_t>(std::min(total - numDone, numToRead));
        if (!mSource->requestDataWithNumFrames(numAsked, data))
            break;
        const auto numRead = static_cast<int64_t>(data.front().size());
        for (int64_t start = 0; start < numRead; start += numAtOnce) {
            const int64_t count = std::min(numRead - start, numAtOnce);
            tracks.clear();
            for (const FloatBuffer& buffer : data)
                tracks.push_back(
                    std::span(buffer).subspan(static_cast<size_t>(start), static_cast<size_t>(count)));
            analyseBlock(tracks);
            numDone += std::min(total - numDone, numAtOnce);
            if (didReachProgress(numDone, numTotal))
                return false;
        }
    }
    analysisDidEnd();
    return true;
}

MaybeError Filter::measureForPreview()
{
    mWasCancelled = false;
    mSource->setLooping(false);
    const TrackList tracks = mSource->document()->audioTracks();
    if (!needsAnalysis() || numFrames() <= 0 || mMeasuredTracks == tracks)
        return std::nullopt;
    const SourceWatch watch = watchSources();
    const bool isDone = analyse(numFrames());
    didFinishProgress();
    MaybeError error = isDone ? watch.error() : Error::cancelled();
    mMeasuredTracks = error ? TrackList() : tracks;
    return error;
}

MaybeError Filter::processSelection(ClipWriter& writer, int64_t numAnalysed, int64_t numInPlace,
                                    int64_t numRinging)
{
    int64_t numDone = numAnalysed;
    if (numRinging > 0)
        mTailMixer = makeTailMixer(numInPlace, numRinging);
    const auto blockNumFrames = static_cast<int64_t>(std::min<uint64_t>(mMaxBufferNumFrames, INT64_MAX));
    MaybeError error = processBlocks(writer, blockNumFrames, numDone, numAnalysed + numInPlace + numRinging);
    mTailMixer.reset();
    return error;
}

std::unique_ptr<TailMixer> Filter::makeTailMixer(int64_t numInPlace, int64_t numRinging) const
{
    const auto fade = static_cast<int64_t>(std::llround(kFadeSecondsOfCutTail * sampleRate()));
    return std::make_unique<TailMixer>(*mSource, numInPlace, numRinging,
                                       isTailCut() ? std::min(fade, numRinging) : 0);
}

SourceWatch Filter::watchSources() const
{
    SourceWatch watch;
    const TrackList tracks = mSource->document()->audioTracks();
    const int32_t end = std::min(mSource->firstTrack() + numTracks(), static_cast<int32_t>(tracks->size()));
    for (int32_t track = std::max(0, mSource->firstTrack()); track < end; ++track)
        watch.add((*tracks)[static_cast<size_t>(track)]->clipsAtOffset(mSource->loopStart(),
                                                                       numFrames() + numFramesRinging()));
    return watch;
}

std::unique_ptr<ClipWriter> Filter::makeWriter() const
{
    const TrackList tracks = mSource->document()->audioTracks();
    const size_t first = std::min(tracks->size(), static_cast<size_t>(std::max(0, mSource->firstTrack())));
    const size_t count = std::min(tracks->size() - first, static_cast<size_t>(std::max(0, numTracks())));
    const auto selected = std::span(*tracks).subspan(first, count);
    auto writer = std::make_unique<ClipWriter>(numTracks(), sampleRate());
    StoredSamples samples;
    for (const AudioTrackPtr& track : selected)
        samples =
            ComputedSound::samplesFrom(samples, ComputedSound::samplesFrom(*track, mSource->loopStart(),
                                                                           numFrames() + numFramesRinging()));
    writer->setComputed(samples);
    return writer;
}

std::vector<ClipList> Filter::selectedClips() const
{
    const TrackList tracks = mSource->document()->audioTracks();
    const int32_t first = mSource->firstTrack();
    if (first < 0 || numTracks() < 0 || numTracks() > static_cast<int32_t>(tracks->size()) - first)
        return {};
    std::vector<ClipList> selected;
    for (int32_t i = 0; i < numTracks(); ++i) {
        const int32_t index = first + i;
        const AudioTrackPtr& track = (*tracks)[static_cast<size_t>(index)];
        selected.push_back(track->clipsAtOffset(mSource->loopStart(), numFrames()));
        if (selected.back().length() != numFrames())
            return {};
    }
    return selected;
}

ComputedClip::Function Filter::outputOfTrack(const AudioTrackPtr&, size_t) const
{
    return {};
}

std::vector<ComputedClip::Function> Filter::outputsOfTracks(std::span<const AudioTrackPtr> tracks)
{
    std::vector<ComputedClip::Function> outputs;
    for (size_t i = 0; i < tracks.size(); ++i) {
        outputs.push_back(outputOfTrack(tracks[i], i));
        if (!outputs.back())
            break;
    }
    if (outputs.empty() || outputs.back())
        return outputs;
    const bool isReadable = isQuick() && numFramesRinging() == 0 && outputNumFrames() == numFrames();
    const std::shared_ptr<Filter> filter = weak_from_this().lock();
    if (!isReadable || !filter)
        return {};
    outputs.clear();
    const auto reader = std::make_shared<ResultReader>(filter);
    for (size_t i = 0; i < tracks.size(); ++i)
        outputs.push_back(
            [reader, i](int64_t offset, std::span<float> out) { reader->read(i, offset, out); });
    return outputs;
}

std::vector<AudioClipPtr> Filter::computedClips()
{
    const int64_t start = mSource->loopStart();
    const int64_t total = numFrames();
    const TrackList tracks = mSource->document()->audioTracks();
    const auto first = static_cast<size_t>(mSource->firstTrack());
    const auto count = static_cast<size_t>(numTracks());
    const int64_t numBytes = total * static_cast<int64_t>(sizeof(float)) * numTracks();
    const bool isInside = start >= 0 && start + total <= mSource->limit() && first + count <= tracks->size();
    if (!isInside || numBytes <= mMostScratchBytes)
        return {};
    const std::span<const AudioTrackPtr> selected = std::span(*tracks).subspan(first, count);
    const std::vector<ComputedClip::Function> outputs = outputsOfTracks(selected);
    std::vector<AudioClipPtr> clips;
    for (size_t i = 0; i < outputs.size(); ++i) {
        const StoredSamples samples = ComputedSound::samplesFrom(*selected[i], start, total);
        clips.push_back(std::make_shared<ComputedClip>(total, selected[i], outputs[i], samples));
    }
    return clips;
}

MaybeError Filter::processBlocks(ClipWriter& writer, int64_t blockNumFrames, int64_t& numDone,
                                 int64_t numTotal)
{
    mReadAhead = std::make_unique<ReadAhead>();
    SampleBlock block;
    MaybeError error;
    while (numDone < numTotal && !error) {
        const int64_t numAsked = std::min(numTotal - numDone, blockNumFrames);
        if (!requestDataWithNumFrames(static_cast<uint64_t>(numAsked), block) || block.empty())
            break;
        if (mTailMixer)
            mTailMixer->process(block);
        error = writer.append(block);
        const auto numGiven = static_cast<int64_t>(block.front().size());
        if (numGiven != numAsked)
            logLine(QStringLiteral("Filter input %1 output %2").arg(numAsked).arg(numGiven));
        numDone += numAsked;
        if (didReachProgress(numDone, numTotal))
            break;
    }
    mReadAhead.reset();
    return error;
}

bool Filter::didReachProgress(int64_t numDone, int64_t numTotal)
{
    if (!mDelegate)
        return false;
    mDelegate->filterDidReachProgress(*this, static_cast<double>(numDone) / static_cast<double>(numTotal));
    mWasCancelled = mDelegate->filterShouldCancel(*this);
    return mWasCancelled;
}

void Filter::didFinishProgress()
{
    if (mDelegate)
        mDelegate->filterDidFinishProgress(*this);
}

SoundDocument* Filter::document() const
{
    // A source only reads, so it holds its document as const; who gave it a document to an effect wants
    // that document changed.
    return const_cast<SoundDocument*>(dynamic_cast<const SoundDocument*>(mSource->document().get()));
}

void Filter::installRearranged(int64_t offset, int64_t length, const std::vector<ClipList>& clips)
{
    SoundDocument* const target = document();
    if (!target)
        return;
    const UndoGroup group(*target, name());
    int32_t track = mSource->firstTrack();
    for (const ClipList& each : clips)
        target->replaceDataAtOffset(offset, length, track++, each);
    if (mDelegate)
        mDelegate->filterDidInsertData(*this, offset, length, mSource->firstTrack(), mSource->numTracks());
}

void Filter::replaceSelectionWithClips(int64_t offset, int64_t length, const std::vector<AudioClipPtr>& clips,
                                       int64_t numRinging)
{
    SoundDocument* const target = document();
    if (!target || clips.empty())
        return;
    const UndoGroup group(*target, name());
    const int64_t documentEnd = target->numberOfFrames();
    int32_t track = mSource->firstTrack();
    for (const auto& clip : clips) {
        const int64_t numAfter = std::min(numRinging, clip->numFrames());
        const int64_t numInPlace = clip->numFrames() - numAfter;
        const AudioClipPtr inPlace = numAfter > 0 ? clip->subdataWithOffset(0, numInPlace) : clip;
        if (numAfter > 0) {
            // First what follows, as long as it stands where it was read. Nothing moves by it.
            const int64_t numFollowing = std::max<int64_t>(0, documentEnd - offset - length);
            target->replaceDataAtOffset(offset + length, std::min(numAfter, numFollowing), track,
                                        ClipList(clip->subdataWithOffset(numInPlace, numAfter)));
        }
        target->replaceDataAndMarkersAtOffset(offset, length, track++,
                                              inPlace->numFrames() > 0 ? inPlace : nullptr);
    }
    if (mDelegate)
        mDelegate->filterDidInsertData(*this, offset, clips.back()->numFrames(), mSource->firstTrack(),
                                       mSource->numTracks());
}

double Filter::factorWithDecibels(double decibels)
{
    return std::pow(10.0, decibels / 20.0);
}

double Filter::blackmanWindowAtPosition(double x)
{
    constexpr double turn = 2.0 * std::numbers::pi;
    return 0.42 - 0.5 * std::cos(turn * x) + 0.08 * std::cos(2.0 * turn * x);
}

} // namespace velloria
