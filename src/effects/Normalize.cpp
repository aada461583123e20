#include "effects/Normalize.h"

#include "document/clips/ClipWriter.h"
#include "effects/SampleArithmetic.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

/// Levels are those of blocks of this length: the RMS level is that of the loudest 186 ms at 44.1 kHz.
constexpr int64_t kBlockNumFrames = 8192;
/// Read at once, a whole number of blocks.
constexpr int64_t kReadNumFrames = 8 * kBlockNumFrames;

double levelOf(std::span<const float> block, bool usesRMS)
{
    if (!usesRMS)
        return SampleArithmetic::peak(block);
    return std::sqrt(SampleArithmetic::sumOfSquares(block) / static_cast<double>(block.size()));
}

std::vector<ParameterDescription> describeParameters()
{
    using Kind = ParameterDescription::Kind;
    ParameterDescription target;
    target.name = QStringLiteral("Target level");
    target.summary = QStringLiteral("Level that the loudest part is brought to.");
    target.unit = QStringLiteral("dB");
    target.minimum = -60.0;
    target.maximum = 0.0;
    target.hardMinimum = -200.0;
    target.hardMaximum = 200.0;
    target.settingsKey = QStringLiteral("filter.normalize.target");
    target.scriptKey = QStringLiteral("Peak");

    ParameterDescription independent;
    independent.kind = Kind::toggle;
    independent.name = QStringLiteral("Channels independently");
    independent.summary = QStringLiteral("Gives each channel a gain of its own instead of one for all.");
    // A person wants both channels at full level; a script written long ago counts on keeping their balance.
    independent.defaultValue = 1.0;
    independent.scriptDefaultValue = 0.0;
    independent.settingsKey = QStringLiteral("filter.normalize.independent");
    independent.scriptKey = QStringLiteral("Independently");

    ParameterDescription rms;
    rms.kind = Kind::toggle;
    rms.name = QStringLiteral("Use RMS level");
    rms.summary = QStringLiteral("Measures the loudest fifth of a second instead of the highest peak.");
    rms.settingsKey = QStringLiteral("filter.normalize.rms");
    rms.scriptKey = QStringLiteral("rms");
    return {target, independent, rms};
}

} // namespace

Normalize::Normalize(const QString& name)
    : Filter(name, true)
{
    resetParameters();
}

const std::vector<ParameterDescription>& Normalize::parameters() const
{
    static const std::vector<ParameterDescription> list = describeParameters();
    return list;
}

void Normalize::setSource(std::shared_ptr<DocumentSource> source)
{
    Filter::setSource(std::move(source));
    mAmpFactors.assign(static_cast<size_t>(mSource ? std::max(numTracks(), 0) : 0), 1.0F);
}

bool Normalize::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (size_t track = 0; track < std::min(block.size(), mAmpFactors.size()); ++track)
        SampleArithmetic::scale(block[track], mAmpFactors[track]);
    return true;
}

MaybeError Normalize::apply()
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
    mSource->setLooping(false);
    mSource->setMark(offset);
    const std::vector<double> levels = measureLevels(total);
    MaybeError error;
    std::vector<AudioClipPtr> clips;
    if (!mWasCancelled) {
        setFactorsForLevels(levels);
        processingWillBegin();
        clips = computedClips();
        if (clips.empty()) {
            error = scaleInto(*writer, total);
            clips.assign(writer->clips().begin(), writer->clips().end());
        }
    }
    didFinishProgress();
    if (!error && !mWasCancelled && !(error = watch.error()))
        replaceSelectionWithClips(offset, total, clips);
    return error;
}

MaybeError Normalize::scaleInto(ClipWriter& writer, int64_t total)
{
    int64_t numDone = total;
    MaybeError error = processBlocks(writer, kBlockNumFrames, numDone, 2 * total);
    return error || mWasCancelled ? error : writer.finish();
}

ComputedClip::Function Normalize::outputOfTrack(const AudioTrackPtr& track, size_t index) const
{
    const float factor = mAmpFactors.at(index);
    return [track, factor, start = mSource->loopStart()](int64_t offset, std::span<float> out) {
        track->readSamples(start + offset, out);
        SampleArithmetic::scale(out, factor);
    };
}

std::vector<double> Normalize::measureLevels(int64_t total)
{
    std::vector<double> levels(mAmpFactors.size(), 0.0);
    SampleBlock data;
    for (int64_t numDone = 0; numDone < total;) {
        const int64_t numAsked = std::min(total - numDone, kReadNumFrames);
        if (!mSource->requestDataWithNumFrames(static_cast<uint64_t>(numAsked), data))
            break;
        const auto numRead = static_cast<int64_t>(data.front().size());
        for (int64_t start = 0; start < numRead; start += kBlockNumFrames) {
            const int64_t count = std::min(numRead - start, kBlockNumFrames);
            for (size_t track = 0; track < std::min(data.size(), levels.size()); ++track) {
                const std::span<const float> samples(data[track].data() + start, static_cast<size_t>(count));
                levels[track] = std::max(levels[track], levelOf(samples, usesRMS()));
            }
            numDone += std::min(total - numDone, kBlockNumFrames);
            if (didReachProgress(numDone, 2 * total))
                return levels;
        }
    }
    return levels;
}

void Normalize::setFactorsForLevels(const std::vector<double>& levels)
{
    const double target = factorWithDecibels(targetLevelDB());
    const double loudest = levels.empty() ? 0.0 : *std::max_element(levels.begin(), levels.end());
    for (size_t track = 0; track < levels.size(); ++track) {
        const double level = isIndependent() ? levels[track] : loudest;
        // Silence cannot be brought to any level; it stays silent, and noise far below anything audible must
        // not turn into a gain beyond what a float holds.
        const auto factor = static_cast<float>(target / level);
        mAmpFactors[track] = level > 0.0 && std::isfinite(factor) ? factor : 1.0F;
    }
}

} // namespace velloria
