#include "effects/Filter.h"

#include "document/UndoGroup.h"
#include "document/clips/ClipWriter.h"
#include "document/clips/ComputedSound.h"
#include "effects/ReadAhead.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

constexpr uint64_t kDefaultBufferNumFrames = 2048;

} // namespace

Filter::Filter(const QString& name, bool hasOptionsDialog)
    : mHasOptionsDialog(hasOptionsDialog)
{
    setName(name);
}

Filter::~Filter() = default;

void Filter::setName(const QString& name)
{
    const bool hasEllipsis = name.size() >= 4 && name.endsWith(QLatin1String("..."));
    mName = hasEllipsis ? name.chopped(3) : name;
}

const std::vector<ParameterDescription>& Filter::parameters() const
{
    static const std::vector<ParameterDescription> none;
    return none;
}

double Filter::parameterValue(size_t index) const
{
    return mParameterValues.at(index);
}

void Filter::setParameterValue(size_t index, double value)
{
    if (const std::optional<double> allowed = parameters().at(index).allowedValue(value))
        mParameterValues.at(index) = *allowed;
}

void Filter::resetParameters()
{
    mParameterValues.resize(parameters().size());
    for (size_t i = 0; i < parameters().size(); ++i)
        setParameterValue(i, parameters()[i].defaultValue);
}

void Filter::loadDefaults()
{
    for (size_t i = 0; i < parameters().size(); ++i) {
        const ParameterDescription& parameter = parameters()[i];
        const QVariant kept = UserDefaults::standard().value(parameter.settingsKey);
        if (const std::optional<double> value = parameter.valueOfVariant(kept))
            setParameterValue(i, *value);
    }
}

void Filter::saveDefaults() const
{
    for (size_t i = 0; i < parameters().size(); ++i) {
        const ParameterDescription& parameter = parameters()[i];
        const bool isNumber = parameter.kind == ParameterDescription::Kind::number;
        const double value = parameterValue(i);
        UserDefaults::standard().setValue(parameter.settingsKey,
                                          isNumber ? QVariant(value) : QVariant(static_cast<int>(value)));
    }
}

void Filter::setParameters(const QVariantMap& arguments)
{
    for (size_t i = 0; i < parameters().size(); ++i) {
        const ParameterDescription& parameter = parameters()[i];
        const std::optional<double> value = parameter.valueOfVariant(arguments.value(parameter.scriptKey));
        setParameterValue(i, value.value_or(parameter.scriptDefaultValue));
    }
}

void Filter::setSource(std::shared_ptr<DocumentSource> source)
{
    mSource = std::move(source);
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

bool Filter::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    return mReadAhead ? mReadAhead->requestData(*mSource, numFrames, block)
                      : mSource->requestDataWithNumFrames(numFrames, block);
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
    if (mMaxBufferNumFrames == 0) {
        logLine(QStringLiteral("-[Filter apply] maxBufferNumFrames == 0"));
        return std::nullopt;
    }
    mSource->setLooping(false);
    processingWillBegin();
    std::vector<AudioClipPtr> clips = computedClips();
    MaybeError error;
    if (clips.empty()) {
        int64_t numDone = 0;
        const auto blockNumFrames = static_cast<int64_t>(std::min<uint64_t>(mMaxBufferNumFrames, INT64_MAX));
        error = processBlocks(*writer, blockNumFrames, numDone, total);
        if (!error && !mWasCancelled)
            error = writer->finish();
        clips.assign(writer->clips().begin(), writer->clips().end());
    }
    didFinishProgress();
    processingFinished();
    if (!error && !mWasCancelled && !(error = watch.error()))
        replaceSelectionWithClips(offset, total, clips);
    return error;
}

SourceWatch Filter::watchSources() const
{
    SourceWatch watch;
    const TrackList tracks = mSource->document()->audioTracks();
    const int32_t end = std::min(mSource->firstTrack() + numTracks(), static_cast<int32_t>(tracks->size()));
    for (int32_t track = std::max(0, mSource->firstTrack()); track < end; ++track)
        watch.add((*tracks)[static_cast<size_t>(track)]->clipsAtOffset(mSource->loopStart(), numFrames()));
    return watch;
}

std::unique_ptr<ClipWriter> Filter::makeWriter() const
{
    const TrackList tracks = mSource->document()->audioTracks();
    const size_t first = std::min(tracks->size(), static_cast<size_t>(std::max(0, mSource->firstTrack())));
    const size_t count = std::min(tracks->size() - first, static_cast<size_t>(std::max(0, numTracks())));
    const auto selected = std::span(*tracks).subspan(first, count);
    auto writer = std::make_unique<ClipWriter>(numTracks(), sampleRate());
    writer->setComputed(std::any_of(selected.begin(), selected.end(), [this](const AudioTrackPtr& track) {
        return ComputedSound::isFromLossySound(*track, mSource->loopStart(), numFrames());
    }));
    return writer;
}

ComputedClip::Function Filter::outputOfTrack(const AudioTrackPtr&, size_t) const
{
    return {};
}

std::vector<AudioClipPtr> Filter::computedClips() const
{
    const int64_t start = mSource->loopStart();
    const int64_t total = numFrames();
    const TrackList tracks = mSource->document()->audioTracks();
    const auto first = static_cast<size_t>(mSource->firstTrack());
    const auto count = static_cast<size_t>(numTracks());
    const int64_t numBytes = total * static_cast<int64_t>(sizeof(float)) * numTracks();
    const bool isInside = start >= 0 && start + total <= mSource->limit() && first + count <= tracks->size();
    std::vector<AudioClipPtr> clips;
    for (size_t i = 0; i < count && isInside && numBytes > mMostScratchBytes; ++i) {
        const AudioTrackPtr& track = (*tracks)[first + i];
        ComputedClip::Function output = outputOfTrack(track, i);
        if (!output)
            return {};
        const bool isLossy = ComputedSound::isFromLossySound(*track, start, total);
        clips.push_back(std::make_shared<ComputedClip>(total, track, std::move(output), isLossy));
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

void Filter::replaceSelectionWithClips(int64_t offset, int64_t length, const std::vector<AudioClipPtr>& clips)
{
    SoundDocument* const target = document();
    if (!target || clips.empty())
        return;
    const UndoGroup group(*target, name());
    int32_t track = mSource->firstTrack();
    for (const auto& clip : clips)
        target->replaceDataAndMarkersAtOffset(offset, length, track++,
                                              clip->numFrames() > 0 ? clip : nullptr);
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
