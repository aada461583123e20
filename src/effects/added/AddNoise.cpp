#include "effects/added/AddNoise.h"

#include "effects/frame/CommonParameters.h"

#include <bit>

namespace velloria
{

namespace
{

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = {[] {
        ParameterDescription level = CommonParameters::level(
            QStringLiteral("Noise level"), QStringLiteral("Level of the noise; 0 dB is full scale."), 0.0);
        CommonParameters::setKeys(level, QStringLiteral("addNoise"), QStringLiteral("level"),
                                  QStringLiteral("Amplitude"));
        return level;
    }()};
    return list;
}

} // namespace

AddNoise::AddNoise(const QString& name)
    : Filter(name, describeParameters())
{
}

void AddNoise::parameterDidChange(size_t)
{
    mAmpFactor = static_cast<float>(factorWithDecibels(parameterValue(0)));
}

void AddNoise::processingWillBegin()
{
    Filter::processingWillBegin();
    mNoises.clear();
}

/// By the place and by the first frame, which is another one once noise was added to it.
void AddNoise::seed(const SampleBlock& block)
{
    const auto start = static_cast<uint64_t>(mSource->loopStart());
    const auto length = static_cast<uint64_t>(numFrames());
    mNoises.resize(block.size());
    for (size_t track = 0; track < block.size(); ++track) {
        const float first = block[track].empty() ? 0.0F : block[track].front();
        std::seed_seq sequence = {static_cast<uint32_t>(track),  std::bit_cast<uint32_t>(first),
                                  static_cast<uint32_t>(start),  static_cast<uint32_t>(start >> 32),
                                  static_cast<uint32_t>(length), static_cast<uint32_t>(length >> 32)};
        mNoises[track].seed(sequence);
    }
}

bool AddNoise::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    if (mNoises.size() != block.size())
        seed(block);
    for (size_t track = 0; track < block.size(); ++track)
        for (float& sample : block[track])
            sample += mNoises[track].next() * mAmpFactor;
    return true;
}

} // namespace velloria
