#include "effects/fades/FadeSpecial.h"

namespace velloria
{

namespace
{

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = {[] {
        ParameterDescription points;
        points.kind = ParameterDescription::Kind::list;
        points.name = QStringLiteral("Envelope");
        points.summary = QStringLiteral(
            "Envelope as x0,y0,x1,y1,...: x from 0 to 1 over the selection, y the gain as a factor.");
        points.defaultList = {0.0, 1.0, 1.0, 1.0};
        points.fewestInList = 4;
        points.hardMinimum = -100.0;
        points.hardMaximum = 100.0;
        points.settingsKey = QStringLiteral("filter.fadeSpecial.dataPoints");
        points.scriptKey = QStringLiteral("DataPoints");
        return points;
    }()};
    return list;
}

} // namespace

FadeSpecial::FadeSpecial(const QString& name)
    : Filter(name, describeParameters())
    , mEnvelope(parameters().list(kDataPoints))
{
}

const PresetFormat* FadeSpecial::presetFormat() const
{
    static const PresetFormat format = {
        QStringLiteral("Fade Special"),
        {{fourCharCode("fade"), 200, {{PresetField::Type::rest, kDataPoints}}}},
        QStringLiteral("-[FadeSpecial loadPresetData:] Invalid preset file")};
    return &format;
}

void FadeSpecial::parameterDidChange(size_t)
{
    mEnvelope = Envelope(parameters().list(kDataPoints));
}

void FadeSpecial::processingWillBegin()
{
    mMark = 0.0F;
    mMax = static_cast<float>(numFrames());
    Filter::processingWillBegin();
}

bool FadeSpecial::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    mLevels.resize(block.front().size());
    mEnvelope.getLevels(mMark, mMax, mLevels);
    for (FloatBuffer& buffer : block)
        for (size_t i = 0; i < buffer.size(); ++i)
            buffer[i] = static_cast<float>(static_cast<double>(buffer[i]) * mLevels[i]);
    // What came, not what was asked for: the last block of a loop's round is shorter, and the envelope would
    // begin later in each round.
    mMark += static_cast<float>(block.front().size());
    if (mMark >= mMax)
        mMark -= mMax;
    return true;
}

} // namespace velloria
