#include "effects/ReferenceKit.h"

using namespace velloria;

namespace
{

TEST(DCOffset, FollowsTheOffsetWithOnePole)
{
    const auto reference = [](const kit::TrackSamples& in, double rate) {
        kit::TrackSamples out = in;
        for (FloatBuffer& track : out) {
            double offset = 0.0;
            for (float& sample : track) {
                offset -= (offset + sample) * 40.0 / rate;
                sample = static_cast<float>(sample + offset);
            }
        }
        return out;
    };
    // The effect keeps its offset in single precision, which rounds once a frame.
    kit::expectLike(QStringLiteral("dc offset"), {}, reference, 1e-5);
}

TEST(DCOffset, AddsAPercentage)
{
    for (const double percent : {-100.0, 0.0, 12.5, 100.0}) {
        const auto reference = [percent](kit::TrackSamples in, double) {
            for (FloatBuffer& track : in)
                for (float& sample : track)
                    sample += static_cast<float>(percent / 100.0);
            return in;
        };
        kit::expectLike(QStringLiteral("dc offset"), {{QStringLiteral("By"), percent}}, reference, 0.0);
    }
}

} // namespace
