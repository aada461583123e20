#include "effects/filters/GraphicEqualizer.h"

#include "effects/filters/FreeCurve.h"
#include "effects/filters/MinimumPhase.h"
#include "effects/frame/CommonParameters.h"
#include "platform/DispatchQueue.h"

#include <algorithm>
#include <limits>

namespace velloria
{

namespace
{

constexpr uint64_t kBlockNumFrames = 16384;
/// The output is late by so much: short enough for a changed point to be heard at once.
constexpr double kBlockSeconds = 0.03;
/// Of the impulse response, which then lasts for at least a quarter of a second: 4 Hz are told apart.
constexpr size_t kNumParts = 8;

ParameterDescription makePoints()
{
    ParameterDescription points;
    points.kind = ParameterDescription::Kind::list;
    points.name = QStringLiteral("Curve");
    points.summary = QStringLiteral("Points of the curve: frequency in Hz and level in dB, and so on.");
    points.defaultList = {31.0, 0.0, 125.0, 0.0, 500.0, 0.0, 2000.0, 0.0, 8000.0, 0.0, 16000.0, 0.0};
    points.fewestInList = 2;
    points.hardMinimum = -FreeCurve::kMostDB;
    points.hardMaximum = 96000.0;
    CommonParameters::setKeys(points, QStringLiteral("graphicEqualizer"), QStringLiteral("dataPoints"),
                              QStringLiteral("DataPoints"));
    return points;
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = {makePoints()};
    return list;
}

} // namespace

GraphicEqualizer::GraphicEqualizer(const QString& name)
    : Filter(name, describeParameters())
{
    setMaxBufferNumFrames(kBlockNumFrames);
}

const PresetFormat* GraphicEqualizer::presetFormat() const
{
    static const PresetFormat format = {
        QStringLiteral("Graphic Equalizer"),
        {{fourCharCode("grEQ"), 200, {{PresetField::Type::rest, points}}}},
        QStringLiteral("-[GraphicEqualizer loadPresetData:] Invalid preset file")};
    return &format;
}

double GraphicEqualizer::responseAt(double frequency) const
{
    return FreeCurve(parameters().list(points)).decibelsAt(frequency);
}

double GraphicEqualizer::highestFrequency() const
{
    return mSource ? sampleRate() / 2.0 : std::numeric_limits<double>::infinity();
}

/// A power of two.
size_t GraphicEqualizer::blockNumFrames() const
{
    size_t count = 256;
    while (static_cast<double>(count) < kBlockSeconds * sampleRate())
        count *= 2;
    return count;
}

int64_t GraphicEqualizer::lagNumFrames() const
{
    return static_cast<int64_t>(blockNumFrames());
}

int64_t GraphicEqualizer::latencyNumFrames() const
{
    return std::min(static_cast<int64_t>(kNumParts * blockNumFrames()),
                    std::max<int64_t>(0, mSource->loopStart()));
}

BlockConvolver::Kernel GraphicEqualizer::makeKernel() const
{
    const FreeCurve curve(parameters().list(points));
    if (curve.isFlat())
        return nullptr;
    const auto decibels = [&curve](double frequency) { return curve.decibelsAt(frequency); };
    const std::vector<float> taps =
        MinimumPhase::impulseResponse(decibels, sampleRate(), kNumParts * blockNumFrames());
    return std::make_shared<const ConvolutionKernel>(taps, *mTransform);
}

void GraphicEqualizer::parameterDidChange(size_t)
{
    mIsChanged = true;
}

void GraphicEqualizer::processingWillBegin()
{
    mConvolvers.clear();
    mTransform = std::make_unique<RealTransform>(2 * blockNumFrames());
    mIsChanged = false;
    const BlockConvolver::Kernel kernel = makeKernel();
    for (int32_t track = 0; track < numTracks(); ++track)
        mConvolvers.emplace_back(*mTransform, kNumParts, kernel);
    Filter::processingWillBegin();
}

void GraphicEqualizer::processingFinished()
{
    mConvolvers.clear();
    mTransform.reset();
}

bool GraphicEqualizer::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    if (std::exchange(mIsChanged, false) && mTransform) {
        const BlockConvolver::Kernel kernel = makeKernel();
        for (BlockConvolver& convolver : mConvolvers)
            convolver.setKernel(kernel);
    }
    const auto count = static_cast<int>(std::min(block.size(), mConvolvers.size()));
    runConcurrently(count, [&](int track) {
        mConvolvers[static_cast<size_t>(track)].process(block[static_cast<size_t>(track)]);
    });
    return true;
}

} // namespace velloria
