#pragma once

namespace velloria
{

/// Where one input of a mixer goes: a linear balance, in which the near side keeps the whole volume.
class MixerComponent
{
public:
    /// Pan from -1 (left) over 0 (centre) to 1 (right); volume is a linear factor.
    MixerComponent(double pan, double volume)
        : mPan(pan)
        , mVolume(volume)
    {
    }

    double pan() const { return mPan; }
    void setPan(double pan) { mPan = pan; }
    double volume() const { return mVolume; }
    void setVolume(double volume) { mVolume = volume; }

    double leftVolume() const { return mPan > 0.0 ? mVolume * (1.0 - mPan) : mVolume; }
    double rightVolume() const { return mPan < 0.0 ? mVolume * (1.0 + mPan) : mVolume; }

private:
    double mPan;
    double mVolume;
};

} // namespace velloria
