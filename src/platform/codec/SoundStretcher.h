#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct RubberBandState_;

namespace velloria
{

/// How a sound is stretched and shifted.
struct StretchSettings {
    double timeRatio = 1.0;  ///< 2 is twice as long
    double pitchScale = 1.0; ///< 2 is an octave higher
    bool keepsFormants = false;

    bool operator==(const StretchSettings&) const = default;
    bool changesNothing() const { return timeRatio == 1.0 && pitchScale == 1.0; }
};

/// Changes length and pitch of sound with any number of tracks, which stay in phase, by the finer engine of
/// Rubber Band. The library is opened at first use. One thread at a time.
class SoundStretcher
{
public:
    /// Of one track.
    using Channel = std::span<const float>;
    /// So few that what they become has room in the library, whose buffer does not grow with the ratio.
    static constexpr size_t kMostPutFrames = 512;

    /// For sound whose settings stay as they are: the result begins with its first frame. Null, with a log
    /// line, when the library is missing.
    static std::unique_ptr<SoundStretcher> forWhole(double sampleRate, size_t numChannels,
                                                    const StretchSettings& settings);
    /// For sound that comes bit by bit while the settings change. The result begins with the first frame of
    /// the input, too. Null as above.
    static std::unique_ptr<SoundStretcher> forStream(double sampleRate, size_t numChannels,
                                                     const StretchSettings& settings);

    /// Of a stream.
    void setSettings(const StretchSettings& settings);
    /// How many frames should be put in next: from one to kMostPutFrames.
    size_t numFramesWanted() const;
    /// All of one length, kMostPutFrames at most. All that is ready is to be taken before the next ones are
    /// put in: what finds no room within is lost. After the sound's last frame silence pushes out the rest.
    void put(const std::vector<Channel>& channels);
    size_t numFramesReady() const;
    /// Adds at most so many frames that are ready to the end of each channel.
    void take(std::vector<std::vector<float>>& channels, size_t mostFrames);

private:
    struct Deleter {
        void operator()(RubberBandState_* state) const;
    };
    SoundStretcher(double sampleRate, size_t numChannels, const StretchSettings& settings, bool isStream);
    static std::unique_ptr<SoundStretcher> create(double sampleRate, size_t numChannels,
                                                  const StretchSettings& settings, bool isStream);
    void dropDelay();

    size_t mNumChannels;
    std::unique_ptr<RubberBandState_, Deleter> mState;
    size_t mNumToDrop = 0; ///< frames of a stream's start
};

} // namespace velloria
