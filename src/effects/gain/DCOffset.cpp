#include "effects/gain/DCOffset.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>

namespace velloria
{

namespace
{

/// Of the tracks that are computed side by side: each sample waits for the one before it, so one track alone
/// leaves most of the processor idle.
constexpr size_t kNumLanes = 4;

std::vector<ParameterDescription> makeDescriptions()
{
    ParameterDescription autoRemove;
    autoRemove.kind = ParameterDescription::Kind::toggle;
    autoRemove.name = QStringLiteral("Remove the offset");
    autoRemove.summary = QStringLiteral("Measures the offset all along and takes it away.");
    autoRemove.defaultValue = 1.0;
    autoRemove.scriptDefaultValue = 1.0;
    autoRemove.settingsKey = QStringLiteral("filter.dcOffset.autoRemove");
    autoRemove.isOnOnlyWhenOne = true;

    ParameterDescription offset;
    offset.name = QStringLiteral("Offset to add");
    offset.summary = QStringLiteral("What is added to every sample; left out, the offset is removed.");
    offset.unit = QStringLiteral("%");
    offset.shownFactor = 100.0;
    offset.decimals = 2;
    offset.minimum = -1.0;
    offset.maximum = 1.0;
    offset.hardMinimum = -1.0;
    offset.hardMaximum = 1.0;
    offset.settingsKey = QStringLiteral("filter.dcOffset.offset");
    offset.scriptKey = QStringLiteral("By");
    offset.scriptFactor = 100.0;
    offset.scriptSwitch = ScriptSwitch{DCOffset::kAutoRemove, 0.0, 1.0};
    offset.usedWhen = ParameterCondition{DCOffset::kAutoRemove, 0.0};
    return {autoRemove, offset};
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions();
    return list;
}

template <size_t Count> void follow(std::span<FloatBuffer> tracks, std::span<float> offsets, float factor)
{
    std::array<float, Count> state;
    std::array<float*, Count> samples;
    for (size_t lane = 0; lane < Count; ++lane) {
        state[lane] = offsets[lane];
        samples[lane] = tracks[lane].data();
    }
    const size_t numFrames = tracks.front().size();
    for (size_t i = 0; i < numFrames; ++i) {
        for (size_t lane = 0; lane < Count; ++lane) {
            const float sample = samples[lane][i];
            state[lane] -= (state[lane] + sample) * factor;
            samples[lane][i] = sample + state[lane];
        }
    }
    // Silence would leave a number so small that processors take a hundred times as long for it.
    for (size_t lane = 0; lane < Count; ++lane)
        offsets[lane] = std::fabs(state[lane]) < FLT_MIN / FLT_EPSILON ? 0.0F : state[lane];
}

} // namespace

DCOffset::DCOffset(const QString& name)
    : Filter(name, describeParameters())
{
}

void DCOffset::processingWillBegin()
{
    mOffsets.assign(static_cast<size_t>(std::max(0, numTracks())), 0.0F);
    mFactor = 40.0 / sampleRate();
}

bool DCOffset::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    if (parameters().isOn(kAutoRemove)) {
        removeOffsets(block);
        return true;
    }
    const auto offset = static_cast<float>(parameterValue(kOffset));
    for (FloatBuffer& buffer : block)
        for (float& sample : buffer)
            sample += offset;
    return true;
}

void DCOffset::removeOffsets(SampleBlock& block)
{
    const auto factor = static_cast<float>(mFactor);
    const std::span<FloatBuffer> tracks(block.data(), std::min(block.size(), mOffsets.size()));
    const std::span<float> offsets(mOffsets);
    size_t track = 0;
    for (; track + kNumLanes <= tracks.size(); track += kNumLanes)
        follow<kNumLanes>(tracks.subspan(track), offsets.subspan(track), factor);
    for (; track + 2 <= tracks.size(); track += 2)
        follow<2>(tracks.subspan(track), offsets.subspan(track), factor);
    for (; track < tracks.size(); ++track)
        follow<1>(tracks.subspan(track), offsets.subspan(track), factor);
}

} // namespace velloria
